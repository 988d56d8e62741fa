# Compiles the public key of the recovery codes in.

# korvex_add_recovery_public_key(TARGET): adds the source that holds the key to the target.
function(korvex_add_recovery_public_key target)
    set(development_key "${PROJECT_SOURCE_DIR}/src/otp/development_recovery_key.pem")
    set(template "${PROJECT_SOURCE_DIR}/src/otp/recovery_public_key.cpp.in")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/recovery_public_key.cpp")
    if(NOT EXISTS "${KORVEX_RECOVERY_PUBLIC_KEY}")
        message(FATAL_ERROR
            "KORVEX_RECOVERY_PUBLIC_KEY names no file: '${KORVEX_RECOVERY_PUBLIC_KEY}'")
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${KORVEX_RECOVERY_PUBLIC_KEY}")

    file(READ "${KORVEX_RECOVERY_PUBLIC_KEY}" recovery_public_key)
    string(REPLACE "\r\n" "\n" recovery_public_key "${recovery_public_key}")
    string(LENGTH "${recovery_public_key}" length)
    if(NOT length EQUAL 182 OR NOT recovery_public_key MATCHES
       "^-----BEGIN PUBLIC KEY-----\n[A-Za-z0-9+/=\n]+\n-----END PUBLIC KEY-----\n$")
        message(FATAL_ERROR
            "'${KORVEX_RECOVERY_PUBLIC_KEY}' is not the public key (\"BEGIN PUBLIC KEY\") of a "
            "512-bit RSA key pair, 182 characters with a line break after each line. Make one by: "
            "openssl genrsa 512 | openssl rsa -pubout")
    endif()
    file(READ "${development_key}" development_key_text)
    string(REPLACE "\r\n" "\n" development_key_text "${development_key_text}")
    if(KORVEX_RELEASE AND recovery_public_key STREQUAL development_key_text)
        message(FATAL_ERROR
            "A build to hand out (KORVEX_RELEASE) needs a recovery key of its own: the private "
            "half of the development key is in the source tree. Name the public half by "
            "KORVEX_RECOVERY_PUBLIC_KEY.")
    endif()

    configure_file("${template}" "${source}" @ONLY)
    target_sources(${target} PRIVATE "${source}")
endfunction()
