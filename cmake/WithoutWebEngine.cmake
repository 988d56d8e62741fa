# mingw-w64 cannot build Qt WebEngine. To see all the same that the sources which use it compile for
# Windows, and what the linker exports of them, they are compiled against the headers of the Linux
# web engine (and no other header of Linux), and linked with an import library that is made from the
# very names that they ask for. What comes out is a file to look at: no system can load it, since
# the library that it imports exists nowhere.

function(korvex_link_without_web_engine target)
    find_path(KORVEX_LINUX_QT_HEADERS QtWebEngineWidgets/qwebengineview.h REQUIRED
        PATHS "/usr/include/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/qt5"
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    set(headers "${CMAKE_CURRENT_BINARY_DIR}/web_engine_headers")
    file(MAKE_DIRECTORY "${headers}")
    foreach(module IN ITEMS QtWebChannel QtWebEngineCore QtWebEngineWidgets)
        file(CREATE_LINK "${KORVEX_LINUX_QT_HEADERS}/${module}" "${headers}/${module}" SYMBOLIC)
        target_include_directories(${target} SYSTEM PRIVATE "${headers}/${module}")
    endforeach()
    target_include_directories(${target} SYSTEM PRIVATE "${headers}")
    # Their own headers name Qt modules that the target does not link.
    find_package(Qt5 5.15 REQUIRED COMPONENTS Qml)
    target_include_directories(${target} SYSTEM PRIVATE ${Qt5Qml_INCLUDE_DIRS})

    find_program(KORVEX_DLLTOOL x86_64-w64-mingw32-dlltool REQUIRED)
    add_custom_command(TARGET ${target} PRE_LINK
        COMMAND "${PROJECT_SOURCE_DIR}/script/windows/import-library"
            "${CMAKE_NM}" "${KORVEX_DLLTOOL}"
            "${CMAKE_CURRENT_BINARY_DIR}/libweb_engine_names.a" "$<TARGET_OBJECTS:${target}>"
        COMMAND_EXPAND_LISTS VERBATIM)
    # Named as an option, since it comes into being with the link itself.
    target_link_directories(${target} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}")
    target_link_libraries(${target} PRIVATE -lweb_engine_names)
endfunction()
