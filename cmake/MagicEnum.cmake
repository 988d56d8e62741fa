# magic_enum: the names of enumerators. Headers alone, so a build for Windows takes those of this
# machine, by way of a folder that holds no other header of Linux.
if(CMAKE_CROSSCOMPILING)
    find_path(KORVEX_MAGIC_ENUM_HEADERS magic_enum/magic_enum.hpp REQUIRED
        NO_CMAKE_FIND_ROOT_PATH)
    set(magic_enum_headers "${CMAKE_BINARY_DIR}/magic_enum_headers")
    file(MAKE_DIRECTORY "${magic_enum_headers}")
    file(CREATE_LINK "${KORVEX_MAGIC_ENUM_HEADERS}/magic_enum" "${magic_enum_headers}/magic_enum"
        SYMBOLIC)
    add_library(magic_enum::magic_enum INTERFACE IMPORTED)
    target_include_directories(magic_enum::magic_enum INTERFACE "${magic_enum_headers}")
else()
    find_package(magic_enum REQUIRED)
endif()
