# The library as it ships, Vornik.dylib, without local symbols; its debug information is beside it in Vornik.dylib.dSYM.
find_program(VORNIK_DSYMUTIL dsymutil REQUIRED)

target_compile_options(vornik_code PRIVATE -g)
add_library(vornik SHARED $<TARGET_OBJECTS:vornik_code>)
set_target_properties(vornik PROPERTIES
    INSTALL_NAME_DIR @rpath
    BUILD_WITH_INSTALL_NAME_DIR ON
    MACHO_CURRENT_VERSION ${PROJECT_VERSION}
    MACHO_COMPATIBILITY_VERSION ${PROJECT_VERSION_MAJOR}.0)
set(system_libraries "-framework Foundation" "-framework CoreFoundation" objc)
target_link_libraries(vornik_code PUBLIC ${system_libraries})
target_link_libraries(vornik PRIVATE ${system_libraries})
# The linker tells dsymutil which object files there were: relative to the folder of the build, and without their times,
# because the library's UUID is made from that too.
set_property(TARGET vornik PROPERTY CXX_LINKER_LAUNCHER ${CMAKE_COMMAND} -E env ZERO_AR_DATE=1)
target_link_options(vornik PRIVATE
    "LINKER:-exported_symbol,_REALPluginMain"
    "LINKER:-oso_prefix,${CMAKE_BINARY_DIR}/")

add_custom_command(TARGET vornik POST_BUILD
    COMMAND ${VORNIK_DSYMUTIL} --oso-prepend-path=${CMAKE_BINARY_DIR} $<TARGET_FILE:vornik>
    COMMAND ${CMAKE_STRIP} -x $<TARGET_FILE:vornik>
    VERBATIM)
