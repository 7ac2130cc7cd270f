#!/usr/bin/env bash
# Runs in a bare Debian system, in a folder with the packages and a project for Qt 5: installs the packages, builds and runs
# the project with them for Qt 5 and Qt 6, with CMake and with pkg-config, runs the tool, and removes the packages without a
# trace.
set -eu
cd "$(dirname "$0")"

install() {
    apt-get install -q -y --no-install-recommends "$@" > /dev/null
}
# build_with PACKAGE LIBRARY
build_with() {
    mkdir "$1"
    sed "s/\<Tavrel\( \|::\)/$1\1/" CMakeLists.txt > "$1/CMakeLists.txt"
    cp main.cpp "$1"
    cmake -S "$1" -B "$1/build" > /dev/null
    cmake --build "$1/build" > /dev/null
    read -ra flags < <(pkg-config --cflags --libs "${2#lib}")
    g++ -std=c++17 main.cpp -o "$1/application" "${flags[@]}"
    for application in "$1/build/application" "$1/application"; do
        ldd "$application" | grep "/$2.so.1 "
        timeout 60 "$application" download http://127.0.0.1:9/ file 2>&1 | grep -F "Couldn't connect to server"
    done
}
install ./libtavrel1_*.deb ./libtavrel-dev_*.deb
build_with Tavrel libtavrel
install ./*.deb
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
