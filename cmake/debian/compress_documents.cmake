# Run by CPack on what it is about to pack: manual pages and change logs are compressed in a Debian package.
# -n leaves name and time out, so that equal documents stay equal.
set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share)
file(GLOB documents ${share}/man/man?/*.? ${share}/doc/*/changelog*)
if(NOT documents)
    message(FATAL_ERROR "no documents to compress below ${CPACK_TEMPORARY_INSTALL_DIRECTORY}")
endif()
execute_process(COMMAND gzip -9nf ${documents} COMMAND_ERROR_IS_FATAL ANY)
