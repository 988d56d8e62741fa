# What every target of the project is built with: language, warnings, hardening, sanitizers.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
endif()

# Everything in one place, so that a program finds the library beside it.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")

add_library(korvex_build INTERFACE)
target_compile_definitions(korvex_build INTERFACE
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_DEPRECATED_WARNINGS
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00
    # The system is written to the 1.1 interface of libcrypto; version 3 still offers it.
    OPENSSL_API_COMPAT=0x10100000L)

if(MSVC)
    target_compile_options(korvex_build INTERFACE /W4 /WX /permissive- /utf-8 /guard:cf /sdl
        # A base taken over by dominance is meant: cards have a family and are one card.
        /wd4250)
    target_compile_definitions(korvex_build INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
    target_link_options(korvex_build INTERFACE /guard:cf /DYNAMICBASE /NXCOMPAT)
else()
    target_compile_options(korvex_build INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fstack-protector-strong
        $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    if(MINGW)
        # There the stack protector is a library of its own, which this option links.
        target_link_options(korvex_build INTERFACE -fstack-protector-strong)
    else()
        target_link_options(korvex_build INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
    endif()
endif()

if(KORVEX_SANITIZE)
    target_compile_options(korvex_build INTERFACE
        -fsanitize=${KORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(korvex_build INTERFACE -fsanitize=${KORVEX_SANITIZE})
endif()
