# Resource files of the application, compiled into morvex_core. Included from
# the top level: generated sources must belong to the directory of the target.
# morvex.qrc and editor.qrc are kept in the tree; the icon font table and the
# translation catalogue are produced during the build.
set(RES_DIR ${CMAKE_CURRENT_LIST_DIR})
set(RES_BIN ${CMAKE_BINARY_DIR}/resources)
qt5_add_resources(MORVEX_QRC_SOURCES ${RES_DIR}/morvex.qrc ${RES_DIR}/editor.qrc)

# Icon font: Debian's Material Icons font and a "name hexcode" table made
# from the package's scss map.
set(MATERIAL_DIR /usr/share/fonts-material-design-icons-iconfont)
set(MATERIAL_SCSS ${MATERIAL_DIR}/scss/_variables.scss)
set(MATERIAL_TTF /usr/share/fonts/truetype/material-design-icons-iconfont/MaterialIcons-Regular.ttf)
set(CODEPOINTS ${RES_BIN}/qtmf/codepoints)
add_custom_command(OUTPUT ${CODEPOINTS}
    COMMAND Python3::Interpreter ${CMAKE_SOURCE_DIR}/tools/gen_codepoints.py ${MATERIAL_SCSS} ${CODEPOINTS}
    DEPENDS ${CMAKE_SOURCE_DIR}/tools/gen_codepoints.py ${MATERIAL_SCSS}
    COMMENT "Generating the icon font name table"
    VERBATIM)
configure_file(${RES_DIR}/qtmf.qrc.in ${RES_BIN}/qtmf.qrc @ONLY)
add_custom_command(OUTPUT ${RES_BIN}/qrc_qtmf.cpp
    COMMAND Qt5::rcc --name qtmf -o ${RES_BIN}/qrc_qtmf.cpp ${RES_BIN}/qtmf.qrc
    DEPENDS ${RES_BIN}/qtmf.qrc ${CODEPOINTS} ${MATERIAL_TTF}
    VERBATIM)

# Translation catalogue: lrelease runs in every build.
set_source_files_properties(${RES_DIR}/lang/Morvex_ru_RU.ts PROPERTIES OUTPUT_LOCATION ${RES_BIN}/lang)
qt5_add_translation(MORVEX_QM_FILES ${RES_DIR}/lang/Morvex_ru_RU.ts)
configure_file(${RES_DIR}/lang.qrc.in ${RES_BIN}/lang.qrc @ONLY)
add_custom_command(OUTPUT ${RES_BIN}/qrc_lang.cpp
    COMMAND Qt5::rcc --name lang -o ${RES_BIN}/qrc_lang.cpp ${RES_BIN}/lang.qrc
    DEPENDS ${RES_BIN}/lang.qrc ${MORVEX_QM_FILES}
    VERBATIM)

target_sources(morvex_core PRIVATE
    ${MORVEX_QRC_SOURCES}
    ${RES_BIN}/qrc_qtmf.cpp
    ${RES_BIN}/qrc_lang.cpp)
