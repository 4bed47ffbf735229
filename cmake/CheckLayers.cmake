# Fails when a folder includes a header of a layer above it.
#   cmake -DROOT=<source tree> -P CheckLayers.cmake
# Each folder may include its own headers and those of the folders listed
# for it; a quoted include found in any other layer's folder is an error.
# Angle-bracket includes (Qt, OpenCV, the standard library) are not ours.
if(NOT ROOT)
  message(FATAL_ERROR "pass -DROOT=<source tree>")
endif()
get_filename_component(ROOT ${ROOT} ABSOLUTE)

set(_layers resources engine document canvas dialogs app)
set(_may_resources "")
set(_may_engine "")
set(_may_document engine resources)
set(_may_canvas document resources)
set(_may_dialogs document resources)
set(_may_app engine document canvas dialogs resources)

# Which layer holds each header name.
foreach(_layer ${_layers})
  file(GLOB _headers RELATIVE ${ROOT}/${_layer} ${ROOT}/${_layer}/*.h)
  foreach(_h ${_headers})
    set(_owner_${_h} ${_layer})
  endforeach()
endforeach()

set(_errors "")
foreach(_layer ${_layers})
  file(GLOB _files ${ROOT}/${_layer}/*.h ${ROOT}/${_layer}/*.cpp)
  foreach(_f ${_files})
    file(STRINGS ${_f} _includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"[^\"]+\"")
    foreach(_line ${_includes})
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]+)\".*" "\\1" _name "${_line}")
      get_filename_component(_name ${_name} NAME)
      set(_owner "${_owner_${_name}}")
      if(_owner AND NOT _owner STREQUAL _layer)
        list(FIND _may_${_layer} ${_owner} _allowed)
        if(_allowed LESS 0)
          file(RELATIVE_PATH _rel ${ROOT} ${_f})
          string(APPEND _errors "  ${_rel} includes ${_name} of ${_owner}/\n")
        endif()
      endif()
    endforeach()
  endforeach()
endforeach()

if(_errors)
  message(FATAL_ERROR "A lower layer includes a higher one:\n${_errors}")
endif()
message(STATUS "Layers hold: engine <- document <- canvas, dialogs <- app")
