# Installs the library into a temporary prefix and uses it as a consumer does: with CMake, with pkg-config, and each header
# alone. DEPENDENCIES is the CMAKE_PREFIX_PATH that the library was built with.
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

run(ldd "${BUILD_DIR}/libtavrel.so")
string(REGEX MATCH "libcurl[^ ]* => [^ ]+" libcurl "${output}")

# A consumer runs with the libcurl that the library was built with.
function(run_consumer program)
    run("${program}" --help)
    run(ldd "${program}")
    if(NOT output MATCHES "${libcurl}")
        message(FATAL_ERROR "${program} does not use ${libcurl}:\n${output}")
    endif()
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
if(EXISTS "${BUILD_DIR}/apps")
    run_consumer("${prefix}/bin/tavrel-publish")
endif()

# With CMake: the examples are consumers.
string(JOIN ":" prefixes "${prefix}" ${DEPENDENCIES})
set(ENV{CMAKE_PREFIX_PATH} "${prefixes}")
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}/examples" -B "${work}/examples" -G "${GENERATOR}"
    -D CMAKE_CXX_COMPILER=${CXX} "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
run(${CMAKE_COMMAND} --build "${work}/examples")
run_consumer("${work}/examples/post")

# With pkg-config.
file(GLOB_RECURSE pc "${prefix}/*/tavrel.pc")
get_filename_component(pc_folder "${pc}" DIRECTORY)
get_filename_component(libdir "${pc_folder}" DIRECTORY)
list(TRANSFORM DEPENDENCIES APPEND "/lib/pkgconfig")
list(JOIN DEPENDENCIES ":" dependencies_path)
set(ENV{PKG_CONFIG_PATH} "${pc_folder}:${dependencies_path}")
run(pkg-config --cflags --libs tavrel)
separate_arguments(flags UNIX_COMMAND "${output}")
set(common "${SOURCE_DIR}/examples/common")
run("${CXX}" ${strict} -fPIC -I "${common}" "${SOURCE_DIR}/examples/post/main.cpp" "${common}/FormRequest.cpp"
    "${common}/ProgressLine.cpp" "${common}/complain.cpp" -o "${work}/with-pkg-config" ${flags} -Wl,-rpath,${libdir})
run_consumer("${work}/with-pkg-config")

# An application with a class named as one of the library's: the library still calls its own function.
file(WRITE "${work}/own-file-utils.cpp" [[
#include <tavrel/SQLSettings.h>
struct FileUtils { static bool writePrivateFile(const QString&, const QByteArray&, QString*); };
bool FileUtils::writePrivateFile(const QString&, const QByteArray&, QString*) { return false; }
int main(int, char* argv[]) { return SQLSettings().save(argv[1], nullptr) ? 0 : 1; }
]])
run("${CXX}" ${strict} -fPIC "${work}/own-file-utils.cpp" -o "${work}/own-file-utils" ${flags} -Wl,-rpath,${libdir})
run("${work}/own-file-utils" "${work}/settings.xml")

# Each header alone.
file(GLOB_RECURSE headers RELATIVE "${prefix}/include" "${prefix}/include/*.h")
foreach(header IN LISTS headers)
    run("${CXX}" ${strict} -fPIC -fsyntax-only ${flags} -include "${prefix}/include/${header}" -x c++ /dev/null)
endforeach()
list(LENGTH headers count)
if(count LESS 12)
    message(FATAL_ERROR "only ${count} headers are installed")
endif()
message(STATUS "${count} headers, two ways to link")
