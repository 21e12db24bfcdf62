# Debian packages: `cpack` in a build folder that was configured by the preset "package".
# Three components: tool (quillon), library (libquillonlib1) and development (libquillonlib-dev).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillonlib)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "the QuillonLib authors")
set(QUILLON_MAINTAINER "the QuillonLib authors <maintainers@quillonlib.invalid>"
    CACHE STRING "Whom the packages name as their maintainer")
set(CPACK_PACKAGE_CONTACT ${QUILLON_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/CompressManual.cmake)
set(CPACK_THREADS 2)

set(CPACK_COMPONENTS_ALL tool library development)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE quillonlib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The library that the tool and the other package need is found in the build folder.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/src)

set(about "QuillonLib compares the rows of the tables of two Microsoft SQL Server
databases, exactly and of every type, and writes the SQL that makes one of
them agree with the other.
")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME quillon)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION database)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS tdsodbc)
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS iso-codes)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "compare the rows of two SQL Server databases
${about}
This is the command line, with a small stand-in for a server to try it on.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libquillonlib1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS tdsodbc)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "compare the rows of two SQL Server databases - shared library
${about}
This is the library that programs are linked with.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquillonlib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libquillonlib1 (= ${PROJECT_VERSION}-1),\
 libexpat1-dev, libicu-dev, libpugixml-dev, nettle-dev, pkgconf | pkg-config, unixodbc-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "compare the rows of two SQL Server databases - development files
${about}
These are the headers, the static library, and what CMake and pkg-config
need to find them.")

# What policy asks of every package: the licence and the changes.
string(TIMESTAMP changed "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(documents ${CMAKE_CURRENT_BINARY_DIR}/documents)
configure_file(packaging/changelog.in ${documents}/changelog.Debian @ONLY)
configure_file(CHANGELOG.md ${documents}/changelog COPYONLY)
find_program(GZIP gzip REQUIRED)
foreach(name changelog changelog.Debian)
    execute_process(COMMAND ${GZIP} -9nf ${documents}/${name} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
foreach(pair tool=quillon library=libquillonlib1 development=libquillonlib-dev)
    string(REGEX MATCH "^([a-z]+)=(.+)$" _ ${pair})
    install(FILES packaging/copyright ${documents}/changelog.gz ${documents}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CMAKE_MATCH_2} COMPONENT ${CMAKE_MATCH_1})
endforeach()
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quillon COMPONENT tool)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quillon COMPONENT tool)

include(CPack)
