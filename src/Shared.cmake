# libquillonlib.so, of the objects of the static library. Its first number is that of the binary
# interface (what programs were linked against), and is raised when that breaks; the rest is the release.
set(QUILLON_INTERFACE 1)
add_library(QuillonLibShared SHARED $<TARGET_OBJECTS:QuillonLib>)
target_compile_features(QuillonLibShared PUBLIC cxx_std_20)
target_sources(QuillonLibShared PUBLIC FILE_SET HEADERS BASE_DIRS ${CMAKE_CURRENT_SOURCE_DIR} FILES
    ${public_headers})
get_target_property(libraries QuillonLib LINK_LIBRARIES)
target_link_libraries(QuillonLibShared PRIVATE ${libraries})
set_target_properties(QuillonLibShared PROPERTIES
    OUTPUT_NAME quillonlib
    EXPORT_NAME shared
    LINKER_LANGUAGE CXX
    SOVERSION ${QUILLON_INTERFACE}
    VERSION ${QUILLON_INTERFACE}.${PROJECT_VERSION})

# Templates of the standard library come with default visibility; the version script holds them back.
set(version_script ${CMAKE_CURRENT_SOURCE_DIR}/quillonlib.map)
set_property(TARGET QuillonLibShared PROPERTY LINK_DEPENDS ${version_script})
target_link_options(QuillonLibShared PRIVATE
    LINKER:--no-undefined LINKER:--as-needed LINKER:--version-script=${version_script})
