# Translations: every resources/Lang/lang_<CODE>.ts is compiled by lrelease to
# Lang/lang_<CODE>.qm in the run directory, where the language switch loads it.
file(GLOB _ts_files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/Lang/lang_*.ts)
if(_ts_files)
  set_source_files_properties(${_ts_files} PROPERTIES OUTPUT_LOCATION ${MERVANE_RUN_DIR}/Lang)
  qt5_add_translation(_qm_files ${_ts_files})
  add_custom_target(mervane_translations ALL DEPENDS ${_qm_files})
  if(TARGET mervane_ui)
    add_dependencies(mervane_ui mervane_translations)
  endif()
endif()
