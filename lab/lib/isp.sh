# The internet provider: one network at the far end of each of the router's uplinks.

# uplink INTERFACE FAR_END: gives the router an interface, with its far end here. It has no carrier
# until the far end is set up, as `plug` does with those named wan...
uplink() {
    ip link add "$2" type veth peer name "$1"
    ip link set "$1" netns "$ROUTER"
    rt ip link set "$1" up
}

# isp_network FAR_END A.B.C.D/24 [DNSMASQ_OPTION...]: serves leases from .100 to .199 of this network
# instead of what was served there before.
isp_network() {
    local link=$1 address=${2%/*} net=${2%.*}
    stop_serving "$link"
    ip address add "$2" dev "$link"
    serve "$link" --dhcp-range="$net.100,$net.199,255.255.255.0,120" \
        --dhcp-option=option:router,"$address" \
        --dhcp-option=option:dns-server,198.51.100.53,198.51.100.54 "${@:3}"
}

# serve FAR_END DNSMASQ_OPTION...: until it says that it has started. (--no-daemon, since anything
# else wants to change its user, and there is but one in here.)
serve() {
    local link=$1 log=/run/isp/$1.log starts
    starts=$(count_starts "$log")
    dnsmasq --no-daemon --conf-file=/dev/null --port=0 --interface="$link" --bind-interfaces \
        --dhcp-authoritative --no-ping --log-dhcp --dhcp-leasefile="/run/isp/$link.leases" "${@:2}" \
        2> >(stamp_lines >>"$log") &
    echo $! >"/run/isp/$link.pid"
    expect_value "starts of dnsmasq on $link" $((starts + 1)) count_starts "$log"
}

count_starts() { grep -c ' started, ' "$1" 2>/dev/null || :; }

stop_serving() {
    local pid_file=/run/isp/$1.pid
    if [ -e "$pid_file" ]; then
        kill "$(<"$pid_file")"
        wait "$(<"$pid_file")" || :
        rm -f "$pid_file" "/run/isp/$1.leases"
    fi
    ip address flush dev "$1"
}

# isp_network6 FAR_END stateful|stateless: 2001:db8:1::/64, announced by a router of the provider.
# (dhclient is what asks for it on the router, see lab/router/udhcpc6.)
isp_network6() {
    command -v dhclient >/dev/null || skip "no dhclient here (scripts/setup installs it)"
    local range='2001:db8:1::100,2001:db8:1::1ff,64,120'
    [ "$2" = stateful ] || range='2001:db8:1::,ra-stateless,64,1800'
    stop_serving "$1"
    ip link set "$1" up
    ip address add 2001:db8:1::1/64 dev "$1" nodad
    serve "$1" --enable-ra --ra-param="$1,4,1800" --dhcp-range="$range" \
        --dhcp-option='option6:dns-server,[2001:db8::53],[2001:db8::54]'
}
