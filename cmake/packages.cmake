# The .deb that scripts/package makes with CPack.
set(CPACK_PACKAGE_VENDOR "modforge maintainers")
set(CPACK_PACKAGE_CONTACT "modforge maintainers <maintainers@modforge.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "converter of linked COFF executables into loadable VELM modules")
set(CPACK_PACKAGE_DESCRIPTION
"For firmware teams whose device loads code at run time. modforge reads one
linked COFF executable for a DSP or microcontroller and writes one dynamically
loadable VELM module: names, section headers, exported symbols, and contents in
packets that carry their own relocations, every part under a checksum.
.
coffdump and velmdump show, check and compare its input and output. A CMake
package makes modules as part of a firmware project's build.")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
