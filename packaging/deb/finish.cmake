# What Debian wants of a package beyond what is installed elsewhere: a compressed changelog and compressed manual pages.
# Runs in cpack, between the installation into its folder and the packing.
set(share "${CPACK_TEMPORARY_DIRECTORY}/usr/share")
file(COPY "${CPACK_TARNWICK_CHANGELOG}" DESTINATION "${share}/doc/tarnwick-basic")
file(GLOB_RECURSE texts "${share}/man/*.1" "${share}/doc/tarnwick-basic/changelog")
execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)
