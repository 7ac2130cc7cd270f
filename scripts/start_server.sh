# Sourced by scripts/demo, scripts/bench and scripts/screenshot.

# start_server NAME FOLDER [SCRIPT]: starts a server of tests/support/servers that ends with this script, and sets the
# variables that it prints. A server that does not start ends the script; its message goes to stderr.
start_server() {
    local printed
    printed=$("$root/tests/support/servers" "$1" "$2" $$ "${@:3}")
    eval "$printed"
}
