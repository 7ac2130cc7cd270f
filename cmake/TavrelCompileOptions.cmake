# How our own targets are compiled. Nothing of this reaches a consumer.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fmacro-prefix-map=a=b TAVREL_HAS_MACRO_PREFIX_MAP)

add_library(tavrel_compile_options INTERFACE)
target_compile_features(tavrel_compile_options INTERFACE cxx_std_17)
target_compile_definitions(tavrel_compile_options INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_STRICT_ITERATORS)

# Where systems differ, a header has one source per system: Name_posix.cpp or Name_windows.cpp.
if(WIN32)
    set(TAVREL_SYSTEM windows)
    # The headers of libcurl include those of the system.
    target_compile_definitions(tavrel_compile_options INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN)
else()
    set(TAVREL_SYSTEM posix)
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        # For files of 2 GiB and more. The headers that applications see do not depend on it.
        target_compile_definitions(tavrel_compile_options INTERFACE _FILE_OFFSET_BITS=64)
    endif()
endif()

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(tavrel_compile_options INTERFACE -Wall -Wextra -Wpedantic)
    target_compile_options(tavrel_compile_options INTERFACE
        $<$<COMPILE_LANGUAGE:CXX>:-Wshadow -Woverloaded-virtual -Wcast-align>)
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
        # QSKIP of Qt Test is such a macro.
        target_compile_options(tavrel_compile_options INTERFACE -Wno-gnu-zero-variadic-macro-arguments)
    endif()
    if(TAVREL_WARNINGS_AS_ERRORS)
        target_compile_options(tavrel_compile_options INTERFACE -Werror)
    endif()
elseif(MSVC)
    target_compile_options(tavrel_compile_options INTERFACE /W4 /utf-8 $<$<BOOL:${TAVREL_WARNINGS_AS_ERRORS}>:/WX>)
endif()
if(TAVREL_HAS_MACRO_PREFIX_MAP)
    # Error locations and log contexts name files the same way on every machine. A compiler cache may pass relative names.
    file(RELATIVE_PATH relative_source_dir "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}/")
    target_compile_options(tavrel_compile_options INTERFACE
        -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/= -fmacro-prefix-map=${relative_source_dir}=)
endif()
if(TAVREL_SANITIZE)
    target_compile_options(tavrel_compile_options INTERFACE
        -fsanitize=${TAVREL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -O1)
    target_link_options(tavrel_compile_options INTERFACE -fsanitize=${TAVREL_SANITIZE})
endif()
