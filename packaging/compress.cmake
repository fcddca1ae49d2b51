# Debian wants manual pages and change lists compressed; without name and time, the same bytes come out every time.
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
file(GLOB files ${root}/usr/share/man/man*/* ${root}/usr/share/doc/*/changelog)
execute_process(COMMAND gzip -9nf ${files} COMMAND_ERROR_IS_FATAL ANY)
