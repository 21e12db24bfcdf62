# Run by cpack on what a package is made of: policy wants manual pages compressed.
find_program(GZIP gzip REQUIRED)
file(GLOB pages ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man1/*.1)
foreach(page ${pages})
    execute_process(COMMAND ${GZIP} -9nf ${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
