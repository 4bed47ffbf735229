<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>CustomWidget</name>
    <message>
        <source>Fit to screen       </source>
        <translation>An Fenster anpassen</translation>
    </message>
    <message>
        <source>100%</source>
        <translation>100%</translation>
    </message>
    <message>
        <source>200%</source>
        <translation>200%</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>Vergrößern</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>Verkleinern</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Load Mask...</source>
        <translation>Maske laden...</translation>
    </message>
    <message>
        <source>Save Mask...</source>
        <translation>Maske speichern...</translation>
    </message>
    <message>
        <source>Load Mask</source>
        <translation>Maske laden</translation>
    </message>
    <message>
        <source>Save Mask</source>
        <translation>Maske speichern</translation>
    </message>
    <message>
        <source>PNG mask (*.png)</source>
        <translation>PNG-Maske (*.png)</translation>
    </message>
    <message>
        <source>There is no photo to load a mask into.</source>
        <translation>Es ist kein Foto geöffnet, in das eine Maske geladen werden könnte.</translation>
    </message>
    <message>
        <source>The mask %1 could not be read.</source>
        <translation>Die Maske %1 konnte nicht gelesen werden.</translation>
    </message>
    <message>
        <source>The mask %1 is %2 x %3 pixels, but the photo is %4 x %5. A mask must have the photo&apos;s size.</source>
        <translation>Die Maske %1 ist %2 x %3 Pixel groß, das Foto aber %4 x %5. Eine Maske muss so groß sein wie das Foto.</translation>
    </message>
    <message>
        <source>The mask %1 selects nothing.</source>
        <translation>Die Maske %1 wählt nichts aus.</translation>
    </message>
    <message>
        <source>There is no photo whose mask could be saved.</source>
        <translation>Es ist kein Foto geöffnet, dessen Maske gespeichert werden könnte.</translation>
    </message>
    <message>
        <source>Nothing is selected in red, so there is no mask to save.</source>
        <translation>Nichts ist rot ausgewählt, daher gibt es keine Maske zu speichern.</translation>
    </message>
    <message>
        <source>The mask could not be saved as %1: %2</source>
        <translation>Die Maske konnte nicht als %1 gespeichert werden: %2</translation>
    </message>
    <message>
        <source>The donor could not be saved as %1: %2</source>
        <translation>Der Spenderbereich konnte nicht als %1 gespeichert werden: %2</translation>
    </message>
    <message>
        <source>The mask was saved, but the older donor %1 beside it could not be removed.</source>
        <translation>Die Maske wurde gespeichert, aber der ältere Spenderbereich %1 daneben konnte nicht entfernt werden.</translation>
    </message>
    <message>
        <source>Grow Selection</source>
        <translation>Auswahl vergrößern</translation>
    </message>
    <message>
        <source>Shrink Selection</source>
        <translation>Auswahl verkleinern</translation>
    </message>
    <message>
        <source>Another Fill</source>
        <translation>Andere Füllung</translation>
    </message>
    <message>
        <source>Save Without Metadata</source>
        <translation>Ohne Metadaten speichern</translation>
    </message>
    <message>
        <source>%1 is saved without the photo&apos;s metadata (camera, date, place, author) and colour profile: %2 files hold none.</source>
        <translation>%1 ist ohne die Metadaten des Fotos (Kamera, Datum, Ort, Urheber) und ohne Farbprofil gespeichert: %2-Dateien können sie nicht aufnehmen.</translation>
    </message>
    <message>
        <source>Quality of Saved Photos...</source>
        <translation>Qualität gespeicherter Fotos...</translation>
    </message>
    <message>
        <source>Quality of Saved Photos</source>
        <translation>Qualität gespeicherter Fotos</translation>
    </message>
    <message>
        <source>Quality of JPEG, WebP, HEIC and AVIF files, 1 to 100.
Default: JPEG 95, WebP lossless, HEIC and AVIF 90, which look the same as the original.</source>
        <translation>Qualität von JPEG-, WebP-, HEIC- und AVIF-Dateien, 1 bis 100.
Standard: JPEG 95, WebP verlustfrei, HEIC und AVIF 90, die wie das Original aussehen.</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message>
        <source>Hardness:</source>
        <translation>Härte:</translation>
    </message>
    <message>
        <source>100%</source>
        <translation>100%</translation>
    </message>
    <message>
        <source>Optacity:</source>
        <translation>Deckkraft:</translation>
    </message>
    <message>
        <source>Mervane</source>
        <translation>Mervane</translation>
    </message>
    <message>
        <source>Tools</source>
        <translation>Werkzeuge</translation>
    </message>
    <message>
        <source>   Remove All</source>
        <translation>   Alle entfernen</translation>
    </message>
    <message>
        <source>Select Photo</source>
        <translation>Foto wählen</translation>
    </message>
    <message>
        <source>Select Folder</source>
        <translation>Ordner wählen</translation>
    </message>
    <message>
        <source>Before and After</source>
        <translation>Vorher und nachher</translation>
    </message>
    <message>
        <source>Zoom In</source>
        <translation>Vergrößern</translation>
    </message>
    <message>
        <source>Zoom Out</source>
        <translation>Verkleinern</translation>
    </message>
    <message>
        <source>Actual Size</source>
        <translation>Originalgröße</translation>
    </message>
    <message>
        <source>Fit to Screen</source>
        <translation>An Fenster anpassen</translation>
    </message>
    <message>
        <source>Move Image</source>
        <translation>Bild verschieben</translation>
    </message>
    <message>
        <source>Undo</source>
        <translation>Rückgängig</translation>
    </message>
    <message>
        <source>Redo</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>History</source>
        <translation>Verlauf</translation>
    </message>
    <message>
        <source>Save as...</source>
        <translation>Speichern unter...</translation>
    </message>
    <message>
        <source>Print</source>
        <translation>Drucken</translation>
    </message>
    <message>
        <source>Add Photos</source>
        <translation>Fotos hinzufügen</translation>
    </message>
    <message>
        <source>Rectangle</source>
        <translation>Rechteck</translation>
    </message>
    <message>
        <source>Lasso Selection</source>
        <translation>Lasso-Auswahl</translation>
    </message>
    <message>
        <source>Polygon Selection</source>
        <translation>Polygon-Auswahl</translation>
    </message>
    <message>
        <source>Selection Brush</source>
        <translation>Auswahlpinsel</translation>
    </message>
    <message>
        <source>Fix the Selection</source>
        <translation>Auswahl korrigieren</translation>
    </message>
    <message>
        <source>Smart Clone Tool</source>
        <translation>Intelligentes Klonen</translation>
    </message>
    <message>
        <source>Sampling Stamp Tool</source>
        <translation>Stempelwerkzeug</translation>
    </message>
    <message>
        <source>Guide Line</source>
        <translation>Hilfslinie</translation>
    </message>
    <message>
        <source>Brush Size</source>
        <translation>Pinselgröße</translation>
    </message>
    <message>
        <source>Mask</source>
        <translation>Maske</translation>
    </message>
    <message>
        <source>Donor</source>
        <translation>Quelle</translation>
    </message>
    <message>
        <source>Website...</source>
        <translation>Webseite...</translation>
    </message>
    <message>
        <source>Technical support...</source>
        <translation>Technischer Support...</translation>
    </message>
    <message>
        <source>Tutorial...</source>
        <translation>Anleitung...</translation>
    </message>
    <message>
        <source>Marquee Tool</source>
        <translation>Auswahlrechteck</translation>
    </message>
    <message>
        <source>Polygon Marquee Tool</source>
        <translation>Polygon-Auswahlrahmen</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>Cannot read file %1</source>
        <translation>Datei %1 kann nicht gelesen werden</translation>
    </message>
    <message>
        <source>Not enough memory to open file %1</source>
        <translation>Nicht genug Speicher, um Datei %1 zu öffnen</translation>
    </message>
    <message>
        <source>The file %1 is damaged: only part of the photo could be read.</source>
        <translation>Die Datei %1 ist beschädigt: Nur ein Teil des Fotos konnte gelesen werden.</translation>
    </message>
    <message>
        <source>Cannot save file %1: %2</source>
        <translation>Datei %1 kann nicht gespeichert werden: %2</translation>
    </message>
    <message>
        <source>Cannot erase the selection: %1.</source>
        <translation>Die Auswahl kann nicht entfernt werden: %1.</translation>
    </message>
    <message>
        <source>The job failed: %1. The photo is as it was.</source>
        <translation>Der Vorgang ist fehlgeschlagen: %1. Das Foto ist unverändert.</translation>
    </message>
    <message>
        <source>Warnning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Save changes to &quot;%1&quot; before closing?</source>
        <translation>Änderungen an &quot;%1&quot; vor dem Schließen speichern?</translation>
    </message>
    <message>
        <source>You have %1 unsaved files. 
Do you want to remove all the files?</source>
        <translation>Sie haben %1 ungespeicherte Dateien. 
Möchten Sie alle Dateien entfernen?</translation>
    </message>
    <message>
        <source>Do you want to remove all the files?</source>
        <translation>Möchten Sie alle Dateien entfernen?</translation>
    </message>
    <message>
        <source>Version:1.2.2 x64</source>
        <translation>Version:1.2.2 x64</translation>
    </message>
    <message>
        <source>30</source>
        <translation>30</translation>
    </message>
    <message>
        <source>0</source>
        <translation>0</translation>
    </message>
    <message>
        <source>hardness:</source>
        <translation>Härte:</translation>
    </message>
    <message>
        <source>TextLabel</source>
        <translation>TextLabel</translation>
    </message>
    <message>
        <source>   Erase</source>
        <translation>   Entfernen</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>Bild öffnen</translation>
    </message>
    <message>
        <source>ALL Formats(*.*);;BMP(*.BMP *.DIB);;JPEG(*.JPG *.JPEG *.JPE);;PNG(*.PNG);;Portable Bit Map(*.PBM *.PGM *.PPM);;SR(*.SR *.RAS);;TIFF(*.TIFF *.TIF);;EXR(*.EXR);;JP2(*.JP2);;WebP(*.WEBP);;HEIC(*.HEIC *.HEIF);;AVIF(*.AVIF)</source>
        <translation>Alle Formate(*.*);;BMP(*.BMP *.DIB);;JPEG(*.JPG *.JPEG *.JPE);;PNG(*.PNG);;Portable Bit Map(*.PBM *.PGM *.PPM);;SR(*.SR *.RAS);;TIFF(*.TIFF *.TIF);;EXR(*.EXR);;JP2(*.JP2);;WebP(*.WEBP);;HEIC(*.HEIC *.HEIF);;AVIF(*.AVIF)</translation>
    </message>
    <message>
        <source>Open Flolder</source>
        <translation>Ordner öffnen</translation>
    </message>
    <message>
        <source>Save File</source>
        <translation>Datei speichern</translation>
    </message>
</context>
<context>
    <name>PhotoItem</name>
    <message>
        <source>Load Mask</source>
        <translation>Maske laden</translation>
    </message>
    <message>
        <source>Grow Selection</source>
        <translation>Auswahl vergrößern</translation>
    </message>
    <message>
        <source>Shrink Selection</source>
        <translation>Auswahl verkleinern</translation>
    </message>
    <message>
        <source>Another Fill</source>
        <translation>Andere Füllung</translation>
    </message>
    <message>
        <source>Warnning</source>
        <translation>Warnung</translation>
    </message>
    <message>
        <source>Could not use the stamp because the area to clone has not been defined (Alt-click to define a source point)</source>
        <translation>Der Stempel kann nicht verwendet werden, weil kein Quellbereich festgelegt ist (Alt-Klick legt einen Quellpunkt fest)</translation>
    </message>
</context>
<context>
    <name>RemoveDialog</name>
    <message>
        <source>Mervane</source>
        <translation>Mervane</translation>
    </message>
    <message>
        <source>Do you want to remove all the files?</source>
        <translation>Möchten Sie alle Dateien entfernen?</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>StudyDialog</name>
    <message>
        <source>Mervane</source>
        <translation>Mervane</translation>
    </message>
    <message>
        <source>Mervane Tutorial </source>
        <translation>Mervane Anleitung </translation>
    </message>
    <message>
        <source>1</source>
        <translation>1</translation>
    </message>
    <message>
        <source>2</source>
        <translation>2</translation>
    </message>
    <message>
        <source>3</source>
        <translation>3</translation>
    </message>
    <message>
        <source>4</source>
        <translation>4</translation>
    </message>
    <message>
        <source>5</source>
        <translation>5</translation>
    </message>
</context>
<context>
    <name>processDialog</name>
    <message>
        <source>Mervane</source>
        <translation>Mervane</translation>
    </message>
    <message>
        <source>Erase  processing ...</source>
        <translation>Entfernen  läuft ...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
</TS>
