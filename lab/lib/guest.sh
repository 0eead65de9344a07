# What scenarios in a guest have beside the others, and source first: a provider with VLANs and PPPoE.

# Here a process takes a fifth of a second of the only processor, and much more on a busy machine. So what is
# done often is done with few or none, and expectations look less often.
PATIENCE=90
exec {NEVER}<> <(:) # nothing ever comes

wait_for() {
    local deadline=$((SECONDS + PATIENCE))
    until "$@"; do
        [ $SECONDS -lt $deadline ] || return 1
        read -rt 0.3 -u "$NEVER" || :
    done
}

rt() { TZ=UTC nsenter -t "$ROUTER" -n -m -p "$@"; }

expect_items() {
    local id
    while [ $# -gt 0 ]; do
        id=$(item_id "$1")
        wait_for item_is "$id" "$2" || fail "item $1 = ${2:-nothing}" "$(item "$1")"
        shift 2
    done
}

item_is() { # ID GLOB
    local value='' file=$ROOT/run/uplinkd/items/$1
    [ ! -s "$file" ] || read -r value <"$file" || :
    # shellcheck disable=SC2053 # a pattern is meant
    [[ $value == $2 ]]
}

log_has() {
    local lines=() file=$ROOT/var/log/uplinkd/uplinkd.log
    [ ! -e "$file" ] || mapfile -t -s "$LOG_MARK" lines <"$file"
    [[ ${lines[*]} == *"$1"* ]]
}

next_heard() {
    local line
    mapfile -t -s "${HEARD_LINES[$1]:-0}" -n 1 line <"/run/lab/heard.$1"
    printf '%s' "${line[*]#* }"
}

settings() { in_pairs 'uplinkctl config set' "$@"; }
set_items() {
    local pairs=()
    while [ $# -gt 0 ]; do
        pairs+=("$(item_id "$1")" "$2")
        shift 2
    done
    in_pairs devinfo "${pairs[@]}"
}
in_pairs() { # COMMAND FIRST SECOND [FIRST SECOND...]: runs it in the router with each pair
    # shellcheck disable=SC2016 # for the router's shell
    rt sh -c 'command=$1; shift; while [ $# -gt 0 ]; do $command "$1" "$2"; shift 2; done' sh "$@"
}

# vlan ID: the interface eth1.ID on the router, and at its far end wan0.ID, another machine's.
vlan() {
    ip link add link wan0 name "wan0.$1" address "02:00:00:00:00:$1" type vlan id "$1"
    rt ip link add link eth1 name "eth1.$1" type vlan id "$1"
    rt ip link set "eth1.$1" up
}

# pppoe_accounts USER PASSWORD [USER PASSWORD...]: who may dial in.
pppoe_accounts() {
    printf '"%s" * "%s" *\n' "$@" >/etc/ppp/chap-secrets
    cp /etc/ppp/chap-secrets /etc/ppp/pap-secrets
}

# pppoe_server FAR_END NET [+ipv6]: accepts calls as NET.1, and gives the first caller NET.100; with +ipv6 the
# hook below also announces 2001:db8:2::/64. (A program that listens on eth1 sees the frames of its VLANs too,
# so sessions are numbered by network.)
pppoe_server() {
    local link=$1 options=/run/isp/$1.options
    printf '%s\n' require-chap 'name isp' 'ms-dns 198.51.100.53' 'ms-dns 198.51.100.54' \
        "logfile /run/isp/$link.log" "${3:-noipv6}" >"$options"
    ip link set "$link" up
    pppoe-server -F -I "$link" -C lab -L "$2.1" -R "$2.100" -N 4 -o "${2##*.}0" \
        -O "$options" >>"/run/isp/$link.server.log" 2>&1 &
    echo $! >"/run/isp/$link.pid"
}

# stop_pppoe_server FAR_END: it hangs up on everybody.
stop_pppoe_server() {
    kill "$(<"/run/isp/$1.pid")"
    wait "$(<"/run/isp/$1.pid")" || :
}

cat >/etc/ppp/ipv6-up <<'HOOK'
#!/bin/sh
PATH=/usr/sbin:/usr/bin:/sbin:/bin
ip -6 address add 2001:db8:2::1/64 dev "$1" nodad
exec dnsmasq --conf-file=/dev/null --port=0 --interface="$1" --bind-interfaces --enable-ra \
    --ra-param="$1,4,1800" --dhcp-range=2001:db8:2::,ra-stateless,64,1800 \
    --dhcp-option='option6:dns-server,[2001:db8::53],[2001:db8::54]' \
    --dhcp-leasefile="/run/isp/$1.leases"
HOOK
chmod 755 /etc/ppp/ipv6-up
