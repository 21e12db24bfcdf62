# find_package(QuillonLib) and link QuillonLib::QuillonLib, or pkg-config quillonlib; include
# <QuillonLib.h>.
include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/QuillonLib)
set(header_folder ${CMAKE_INSTALL_INCLUDEDIR}/quillonlib)

install(TARGETS QuillonLib EXPORT QuillonLibStatic
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION ${header_folder} COMPONENT development)
install(EXPORT QuillonLibStatic NAMESPACE QuillonLib:: DESTINATION ${package_folder}
    COMPONENT development)
if(QUILLON_SHARED)
    install(TARGETS QuillonLibShared EXPORT QuillonLibShared
        LIBRARY COMPONENT library NAMELINK_COMPONENT development
        FILE_SET HEADERS DESTINATION ${header_folder} COMPONENT development)
    install(EXPORT QuillonLibShared NAMESPACE QuillonLib:: DESTINATION ${package_folder}
        COMPONENT development)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QuillonLibConfig.cmake.in
    QuillonLibConfig.cmake INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(QuillonLibConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/QuillonLibConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/QuillonLibConfigVersion.cmake DESTINATION ${package_folder}
    COMPONENT development)

if(NOT WIN32)
    # Wherever the package is put, its folders are found from that of the file.
    file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/quillonlib.pc.in quillonlib.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quillonlib.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endif()
