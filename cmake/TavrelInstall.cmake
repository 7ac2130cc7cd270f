# The library itself, and what a consumer finds after `cmake --install`.
include(CMakePackageConfigHelpers)
include(CheckCXXSourceCompiles)
include(GenerateExportHeader)

# The platform layers that public headers include.
set(TAVREL_EXPORTED_PLATFORM cryptography foundation serialisation)

set(TAVREL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
if(NOT TAVREL_QT EQUAL 5)
    string(APPEND TAVREL_INCLUDEDIR "/${TAVREL_NAME}")
endif()
set(TAVREL_PLATFORM_INCLUDEDIR "${TAVREL_INCLUDEDIR}/tavrel/platform")

set_target_properties(tavrel PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    EXPORT_NAME Tavrel
    OUTPUT_NAME ${TAVREL_NAME}
    LINKER_LANGUAGE CXX
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    INSTALL_RPATH_USE_LINK_PATH ON) # for dependencies outside the system's folders
target_compile_features(tavrel PUBLIC cxx_std_17)
target_link_libraries(tavrel
    PUBLIC Qt${TAVREL_QT}::Core Qt${TAVREL_QT}::Xml CURL::libcurl
    PRIVATE Qt${TAVREL_QT}::Network Qt${TAVREL_QT}::Widgets OpenSSL::Crypto OpenSSL::SSL Threads::Threads
        $<BUILD_INTERFACE:tavrel_compile_options>)
if(WIN32)
    target_link_libraries(tavrel PRIVATE ws2_32)
elseif(NOT APPLE)
    if(NOT TAVREL_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_link_options(tavrel PRIVATE -Wl,--no-undefined)
    endif()
    # A function of the application with the same name and signature as one of ours does not replace ours. Windows and
    # macOS bind symbols to libraries anyway.
    set(CMAKE_REQUIRED_LINK_OPTIONS -Wl,-Bsymbolic-functions)
    check_cxx_source_compiles("int main() { return 0; }" TAVREL_HAS_BSYMBOLIC_FUNCTIONS)
    unset(CMAKE_REQUIRED_LINK_OPTIONS)
    if(TAVREL_HAS_BSYMBOLIC_FUNCTIONS)
        target_link_options(tavrel PRIVATE -Wl,-Bsymbolic-functions)
    endif()
endif()
target_include_directories(tavrel PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform>
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/exports>
    $<INSTALL_INTERFACE:${TAVREL_INCLUDEDIR}>
    $<INSTALL_INTERFACE:${TAVREL_PLATFORM_INCLUDEDIR}>)

generate_export_header(tavrel BASE_NAME tavrel
    EXPORT_FILE_NAME "${PROJECT_BINARY_DIR}/exports/tavrel/tavrel_export.h")
foreach(layer IN LISTS TAVREL_EXPORTED_PLATFORM)
    generate_export_header(tavrel BASE_NAME ${layer}
        EXPORT_FILE_NAME "${PROJECT_BINARY_DIR}/exports/${layer}/${layer}_export.h")
endforeach()

if(NOT TAVREL_INSTALL)
    return()
endif()

install(TARGETS tavrel EXPORT ${TAVREL_PACKAGE}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

get_property(public_headers TARGET tavrel PROPERTY TAVREL_PUBLIC_HEADERS)
list(TRANSFORM public_headers PREPEND "${PROJECT_SOURCE_DIR}/include/tavrel/")
install(FILES ${public_headers} "${PROJECT_BINARY_DIR}/exports/tavrel/tavrel_export.h"
    DESTINATION ${TAVREL_INCLUDEDIR}/tavrel)
foreach(layer IN LISTS TAVREL_EXPORTED_PLATFORM)
    get_property(headers TARGET tavrel PROPERTY TAVREL_HEADERS_${layer})
    # For the library's own layers only.
    list(REMOVE_ITEM headers FutureResult.h SystemFiles.h SystemMemory.h Utc.h raiseError.h TlsPeer.h TlsResumption.h)
    list(TRANSFORM headers PREPEND "${PROJECT_SOURCE_DIR}/platform/${layer}/")
    install(FILES ${headers} "${PROJECT_BINARY_DIR}/exports/${layer}/${layer}_export.h"
        DESTINATION ${TAVREL_PLATFORM_INCLUDEDIR}/${layer})
endforeach()

set(TAVREL_QT_COMPONENTS Core Xml)
set(TAVREL_PC_REQUIRES "libcurl >= 7.68")
if(NOT BUILD_SHARED_LIBS)
    list(APPEND TAVREL_QT_COMPONENTS Network Widgets)
    set(TAVREL_FIND_PRIVATE "find_dependency(OpenSSL 1.1.1 COMPONENTS Crypto SSL)\nfind_dependency(Threads)")
    set(TAVREL_PC_LIBS "${CMAKE_THREAD_LIBS_INIT}")
    # Not Requires.private: `pkg-config --static` would also ask for everything that libcurl is built from.
    string(APPEND TAVREL_PC_REQUIRES ", libssl >= 1.1.1, libcrypto >= 1.1.1")
endif()
if(NOT WIN32)
    # With the -fPIE that compilers default to, the address of a signal can differ between application and library:
    # connect() does not find it. Qt has the flag in its files for CMake only.
    set(TAVREL_PC_CFLAGS -fPIC)
endif()
foreach(component IN LISTS TAVREL_QT_COMPONENTS)
    string(PREPEND TAVREL_PC_REQUIRES "Qt${TAVREL_QT}${component} >= ${TAVREL_QT_VERSION}, ")
endforeach()
list(JOIN TAVREL_QT_COMPONENTS " " TAVREL_QT_COMPONENTS)

set(config_dir "${CMAKE_INSTALL_LIBDIR}/cmake/${TAVREL_PACKAGE}")
configure_package_config_file(cmake/TavrelConfig.cmake.in "${PROJECT_BINARY_DIR}/${TAVREL_PACKAGE}Config.cmake"
    INSTALL_DESTINATION "${config_dir}"
    PATH_VARS TAVREL_TRANSLATIONSDIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/${TAVREL_PACKAGE}ConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/${TAVREL_PACKAGE}Config.cmake" "${PROJECT_BINARY_DIR}/${TAVREL_PACKAGE}ConfigVersion.cmake"
    DESTINATION "${config_dir}")
install(EXPORT ${TAVREL_PACKAGE}Targets NAMESPACE ${TAVREL_PACKAGE}:: DESTINATION "${config_dir}")

# Relative, so that an installed tree can be moved.
file(RELATIVE_PATH TAVREL_PC_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
configure_file(cmake/tavrel.pc.in "${PROJECT_BINARY_DIR}/${TAVREL_NAME}.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/${TAVREL_NAME}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
