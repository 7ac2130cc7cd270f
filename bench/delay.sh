# Sourced by scripts/bench: a line with a round-trip time, in a network namespace of its own. Programs and servers on both ends
# of it are started by in_delay; the servers listen on 127.0.0.1, and clients connect to $far_host at the same port.

far_host=10.9.0.2

# Needs root, namespaces and /dev/net/tun.
can_delay() { [ "$(id -u)" = 0 ] && [ -c /dev/net/tun ] && unshare --net true 2> /dev/null; }

# start_delay MILLISECONDS
start_delay() {
    mkfifo delay-ready
    unshare --net "$programs/bench_delay" "$1" > delay-ready &
    delay_pid=$!
    read -r < delay-ready
    in_delay sh -ec '
        ip link set lo up
        ip address add 10.9.0.1/24 dev bench0
        ip link set bench0 mtu 1500 up
        echo 1 > /proc/sys/net/ipv4/conf/bench0/route_localnet
        # Every kernel has it. Others (bbr) hold back the parts of small files.
        echo reno > /proc/sys/net/ipv4/tcp_congestion_control'
}

in_delay() { nsenter --net="/proc/$delay_pid/ns/net" "$@"; }

# start_far_server NAME FOLDER: like start_server, on the line.
start_far_server() {
    local printed
    printed=$(in_delay "$root/tests/support/servers" "$1" "$2" $$)
    eval "$printed"
}

stop_delay() {
    [ -z "${delay_pid:-}" ] || kill "$delay_pid"
}
