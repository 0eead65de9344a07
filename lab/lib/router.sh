# The router as a scenario handles it: its settings, its cable, its other programs, its daemon.
LOG_MARK=0

# rt COMMAND...: runs it inside the router.
rt() { nsenter -t "$ROUTER" -n -m -p "$@" 8<&- 9<&-; }

# settings KEY VALUE [KEY VALUE...]
settings() { in_pairs 'uplinkctl config set' "$@"; }

# set_items NAME VALUE [NAME VALUE...], as the router's other components do.
set_items() {
    local pairs=() id
    while [ $# -gt 0 ]; do
        id=$(item_id "$1")
        pairs+=("$id" "$2")
        shift 2
    done
    in_pairs devinfo "${pairs[@]}"
}

in_pairs() { # COMMAND FIRST SECOND [FIRST SECOND...]: runs it in the router with each pair
    # shellcheck disable=SC2016 # for the router's shell
    rt sh -ec 'command=$1; shift; while [ $# -gt 0 ]; do $command "$1" "$2"; shift 2; done' sh "$@"
}

item() { cat_quietly "$ROOT/run/uplinkd/items/$(item_id "$1")"; }

# tell MESSAGE...: sends them to the daemon.
tell() {
    local message id
    for message in "$@"; do
        id=$(message_id "$message")
        rt sockmsg_send -d 24 -m "$id"
    done
}

# settle: until the daemon has dealt with everything sent to it so far.
settle() {
    SETTLED=$((${SETTLED:-0xF000} + 1))
    rt sockmsg_send -d 24 -m $SETTLED
    expect_log "$(printf 'recv msg(0x%04X)' $SETTLED)"
}

# siblings APP...: the sibling daemons, each of which keeps a record of what it hears.
siblings() {
    local app id
    for app in "$@"; do
        id=$(app_id "$app")
        : >"/run/lab/heard.$app"
        rt uplinkctl listen "$id" </dev/null > >(stamp_lines >>"/run/lab/heard.$app") &
        expect_value "$app is registered" ready next_heard "$app"
        HEARD_LINES["$app"]=1
    done
}

# stamp_lines: puts the time before each line.
stamp_lines() {
    local line
    while IFS= read -r line; do echo "$EPOCHREALTIME $line"; done
}

# service_capabilities: what the service file leaves the daemon and all that it starts, for setpriv.
service_capabilities() {
    local named
    named=$(sed -n '/^CapabilityBoundingSet=/ { s/.*=/ /; s/ CAP_/,+/g; p; }' /run/lab/uplinkd.service)
    named=${named//$'\n'/}
    echo "-all${named,,}"
}

# start_daemon [ENV_ASSIGNMENT...]: with the markers that the daemon waits for in place, and no more rights
# than as a service.
start_daemon() {
    local log=$ROOT/var/log/uplinkd/uplinkd.log
    [ -z "$record" ] || [ -e "$ROOT/run/recorder.pid" ] || start_recorder
    : >"$ROOT/tmp/.flag_settingsd_init_finished"
    rt uplinkctl flag set downlinkd_init_completed 1
    [ ! -e "$log" ] || LOG_MARK=$(wc -l <"$log")
    rt setpriv --bounding-set="$(service_capabilities)" --no-new-privs \
        env "$@" uplinkd </dev/null >>"$ROOT/var/log/uplinkd.out" 2>&1 &
    DAEMON_RUNS=1
    expect_log 'uplinkd_init finish!'
}

# start_recorder, stop_recorder: what `lab/lab --record` writes, from before the daemon's first start.
start_recorder() {
    rt sh -c 'echo $$ >/run/recorder.pid; exec uplinkctl record /run/recording.jsonl' </dev/null &
    recorder=$!
    wait_for grep -qs '"kind":"live"' "$ROOT/run/recording.jsonl" || fail "the recorder is ready"
}
stop_recorder() {
    [ -e "$ROOT/run/recorder.pid" ] || return 0
    settle
    rt kill -INT "$(<"$ROOT/run/recorder.pid")"
    wait "$recorder" || fail "the recorder has written all"
    cp "$ROOT/run/recording.jsonl" /run/lab/
}

kill_daemon() {
    rt killall -9 uplinkd
    expect_value "the daemon is gone" "" pids uplinkd
}

# plug, unplug: what the router's switch driver does when the WAN cable, with all its VLANs, is
# plugged in or pulled out. The WAN port is 3.
plug() { set_wan_cable up 1; }
unplug() { set_wan_cable down 0; }

set_wan_cable() {
    local far_end
    for far_end in $(ip -br link show | grep -o '^wan[0-9]*'); do ip link set "$far_end" "$1"; done
    set_items PORT_STATUS_LIST "0,0,0,$2,0,0,0,0" WAN_PORT_INDEX 3
    tell WAN_WIRED_MODE_CHANGE
}

# wired_wan: a router with one wired WAN, by DHCP, on eth1; its cable, wan0, is not plugged in.
wired_wan() {
    uplink eth1 wan0
    settings USR_WAN_MODE 2 USR_WAN_IPVERSION ipv4 USR_WAN_IPMODE dhcp SYS_WIRED_WAN_SUB_PORT_NUM 0
    set_items WIRED_WAN_REAL_IFACE eth1 PORT_STATUS_LIST 0,0,0,0,0,0,0,0 WAN_PORT_INDEX 3
}

# install_wan_script ITEM...: the router's own WAN script, which notes each call with what these items
# hold at that moment, and then runs the commands on standard input with "set" or "reset" as $1.
install_wan_script() {
    local script=$ROOT/etc/ebscript/wan_mode_setting.sh values='' name
    for name in "$@"; do values+=" \"\$(devinfo $(item_id "$name"))\""; done
    {
        echo '#!/bin/sh'
        echo "echo \"\$1:\"$values >>/tmp/calls"
        cat
    } >"$script"
    chmod 755 "$script"
}

# change_wan_mode MODE: what the user's web page does.
change_wan_mode() {
    settings USR_WAN_MODE "$1"
    tell WAN_MODE_CHANGE
}

# wireless_link INTERFACE STATUS [MESSAGE]: the driver's view of an AP-client, 4 for linked.
wireless_link() {
    local band=24 state=down
    [ "$1" = apcli0 ] || band=58
    [ "$2" != 4 ] || state=up
    ip link set "far-$1" $state
    set_items "WLAN${band}_LINK_STATUS" "$2"
    tell "${3:-WAN_WIRELESS_MODE_CHANGE}"
}

# dhcp_client: the pid of the only udhcpc, once it has gone into the background (into a session of its
# own), as it does after its first lease.
dhcp_client() {
    wait_for is_in_background || fail "udhcpc goes into the background"
    pids udhcpc
}
is_in_background() {
    local pid session
    pid=$(pids udhcpc)
    { read -r _ _ _ _ _ session _ <"$ROOT/proc/$pid/stat"; } 2>/dev/null && [ "$session" = "$pid" ]
}

# shared_descriptors PROGRAM PROGRAM: what both have open, /dev/null aside.
shared_descriptors() { comm -12 <(descriptors "$1") <(descriptors "$2"); }
descriptors() {
    readlink "$ROOT/proc/$(pids "$1")/fd/"* | grep -v '^/dev/null$' | sort
}

# quick_client: a DHCP client for the daemon started with PATH=$QUICK_PATH that has its lease at once, and
# then lives until it is killed.
QUICK_PATH=/run/clients:/usr/sbin:/usr/bin:/sbin:/bin
quick_client() {
    mkdir -p "$ROOT/run/clients"
    cat >"$ROOT/run/clients/udhcpc" <<'CLIENT'
#!/bin/sh
while getopts i:s:p: option; do
    case $option in
    i) export interface="$OPTARG" ;;
    s) script=$OPTARG ;;
    p) echo $$ >"$OPTARG" ;;
    esac
done
ip=192.0.2.7 mask=24 subnet=255.255.255.0 router=192.0.2.1 dns='198.51.100.53 198.51.100.54' "$script" bound
read -r _ <>/run/clients/never
CLIENT
    rt chmod 755 /run/clients/udhcpc
    rt mkfifo /run/clients/never
}
