# Uses the library as a consumer does: installed as a shared and as a static library, with CMake, with pkg-config and each
# header alone, and in the tree of an application. DEPENDENCIES is the CMAKE_PREFIX_PATH that the library was built with,
# TAVREL_QT the major version of Qt, NAME the name of the library.
cmake_policy(VERSION 3.16)

set(work "${BUILD_DIR}/package-test")
set(prefix "${work}/prefix")
set(strict -std=c++17 -Wall -Wextra -Werror -DQT_NO_KEYWORDS)
file(REMOVE_RECURSE "${work}")

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        string(REPLACE ";" " " command "${ARGN}")
        message(FATAL_ERROR "${command}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(ldd "${BUILD_DIR}/lib${NAME}.so")
string(REGEX MATCH "libcurl[^ ]* => [^ ]+" libcurl "${output}")

# A consumer runs with the libcurl that the library was built with.
function(run_consumer program)
    run("${program}" --help)
    run(ldd "${program}")
    if(NOT output MATCHES "${libcurl}")
        message(FATAL_ERROR "${program} does not use ${libcurl}:\n${output}")
    endif()
endfunction()

function(configure source build)
    run(${CMAKE_COMMAND} -S "${SOURCE_DIR}/${source}" -B "${build}" -G "${GENERATOR}"
        -D CMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror" ${ARGN})
endfunction()

# Builds examples with the library installed in a prefix; leaves the flags of pkg-config in flags.
list(JOIN DEPENDENCIES ":" dependencies_prefixes)
list(TRANSFORM DEPENDENCIES APPEND "/lib/pkgconfig" OUTPUT_VARIABLE dependencies_pkgconfig)
list(JOIN dependencies_pkgconfig ":" dependencies_pkgconfig)
function(check_prefix prefix)
    set(ENV{CMAKE_PREFIX_PATH} "${prefix}:${dependencies_prefixes}")
    configure(examples "${prefix}/examples" -D TAVREL_QT=${TAVREL_QT})
    run(${CMAKE_COMMAND} --build "${prefix}/examples" --target ${ARGN})
    run_consumer("${prefix}/examples/post")

    file(GLOB_RECURSE pc "${prefix}/*/${NAME}.pc")
    get_filename_component(pc_folder "${pc}" DIRECTORY)
    get_filename_component(libdir "${pc_folder}" DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} "${pc_folder}:${dependencies_pkgconfig}")
    run(pkg-config --cflags --libs ${NAME})
    separate_arguments(printed UNIX_COMMAND "${output}")
    # Compilers warn about Qt's headers, unless they are a system's.
    set(flags "")
    foreach(flag IN LISTS printed)
        if(NOT flag MATCHES "${prefix}")
            string(REGEX REPLACE "^-I" "-isystem;" flag "${flag}")
        endif()
        list(APPEND flags ${flag})
    endforeach()
    list(APPEND flags -Wl,-rpath,${libdir})
    set(common "${SOURCE_DIR}/examples/common")
    run("${CXX}" ${strict} -I "${common}" "${SOURCE_DIR}/examples/post/main.cpp" "${common}/FormRequest.cpp"
        "${common}/ProgressLine.cpp" "${common}/Terminal_posix.cpp" "${common}/complain.cpp"
        -o "${prefix}/with-pkg-config" ${flags})
    run_consumer("${prefix}/with-pkg-config")
    set(flags "${flags}" PARENT_SCOPE)
endfunction()

# The source archive of a commit is always the same. A system may be without Git, or without the repository of a work tree.
execute_process(COMMAND git -C "${SOURCE_DIR}" rev-parse RESULT_VARIABLE git_result OUTPUT_QUIET ERROR_QUIET)
if(EXISTS "${SOURCE_DIR}/.git" AND git_result EQUAL 0)
    foreach(umask 022 077)
        run(sh -c "umask ${umask} && '${SOURCE_DIR}/scripts/package' --source '${work}/${umask}.tar.gz'")
    endforeach()
    run(${CMAKE_COMMAND} -E compare_files "${work}/022.tar.gz" "${work}/077.tar.gz")
endif()

# In the tree of an application. The release build, which is one for Qt 5, has already compiled each source alone.
foreach(with_fetch_content OFF ON)
    set(build "${work}/embedding-${with_fetch_content}")
    set(unity ON)
    if(TAVREL_QT EQUAL 6 AND NOT with_fetch_content)
        set(unity OFF)
    endif()
    configure(tests/package/embedding "${build}" -D QT=${TAVREL_QT} -D LIBRARY_DIR=${SOURCE_DIR}
        -D WITH_FETCH_CONTENT=${with_fetch_content} -D CMAKE_UNITY_BUILD=${unity} "-DCMAKE_PREFIX_PATH=${DEPENDENCIES}")
    run(${CMAKE_COMMAND} --build "${build}")
    run_consumer("${build}/post")
endforeach()
run(${CMAKE_COMMAND} --install "${build}" --prefix "${work}/static")
file(GLOB_RECURSE archive "${work}/static/*/lib${NAME}.a")
if(NOT archive)
    message(FATAL_ERROR "no static library is installed")
endif()
check_prefix("${work}/static" post)

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
if(EXISTS "${BUILD_DIR}/apps")
    run_consumer("${prefix}/bin/tavrel-publish")
endif()
check_prefix("${prefix}" all)

# An application with a class named as one of the library's: the library still calls its own function.
file(WRITE "${work}/own-file-utils.cpp" [[
#include <tavrel/SQLSettings.h>
struct FileUtils { static bool writePrivateFile(const QString&, const QByteArray&, QString*); };
bool FileUtils::writePrivateFile(const QString&, const QByteArray&, QString*) { return false; }
int main(int, char* argv[]) { return SQLSettings().save(argv[1], nullptr) ? 0 : 1; }
]])
run("${CXX}" ${strict} "${work}/own-file-utils.cpp" -o "${work}/own-file-utils" ${flags})
run("${work}/own-file-utils" "${work}/settings.xml")

# Each header alone, also in the language of an application that is newer than the library's.
file(GLOB_RECURSE headers RELATIVE "${prefix}/include" "${prefix}/include/*.h")
foreach(header IN LISTS headers)
    foreach(standard 17 20)
        run("${CXX}" ${strict} -std=c++${standard} -fsyntax-only ${flags}
            -include "${prefix}/include/${header}" -x c++ /dev/null)
    endforeach()
endforeach()
list(LENGTH headers count)
if(count LESS 12)
    message(FATAL_ERROR "only ${count} headers are installed")
endif()
message(STATUS "${count} headers")
