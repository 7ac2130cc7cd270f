#!/usr/bin/env bash
# Runs in a bare Debian system, in a folder with the packages and a main.cpp: installs the packages, builds the program
# with them, runs the tool, and removes them without a trace.
set -eu
cd "$(dirname "$0")"

apt-get install -q -y --no-install-recommends ./*.deb > /dev/null
# build_with PACKAGE LIBRARY
build_with() {
    mkdir "$1"
    cat > "$1/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.16)
project(Application LANGUAGES CXX)
find_package($1 1 REQUIRED)
add_executable(application ../main.cpp)
target_link_libraries(application PRIVATE $1::Tavrel)
END
    cmake -S "$1" -B "$1/build" > /dev/null
    cmake --build "$1/build" > /dev/null
    ldd "$1/build/application" | grep "/$2.so.1 "
}
build_with Tavrel libtavrel
build_with TavrelQt6 libtavrel-qt6
tavrel-publish --version
test -s /usr/share/man/man1/tavrel-publish.1.gz

apt-get purge -q -y 'libtavrel*' tavrel-tools > /dev/null
left=$(find / -xdev -iname '*tavrel*' -not -path "$PWD/*" -not -path '/proc/*')
if [ -n "$left" ]; then
    echo "left: $left" >&2
    exit 1
fi
echo "installed, used and removed"
