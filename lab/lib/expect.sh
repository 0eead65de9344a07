# What a scenario expects. Every expectation waits until it holds, for PATIENCE seconds at most.
CALLS=
declare -A HEARD_LINES # how many lines of each application's record are dealt with

# fail EXPECTED [SEEN]: says where the scenario stands and what the router knows, and ends it.
fail() {
    trap - ERR
    [ -e /run/lab/failed ] || report "$@" >&2
    : >/run/lab/failed
    [ $BASHPID = $$ ] || kill -USR1 $$ # in a $(...): the scenario is still to be ended
    [ $BASHPID != $$ ] || end_failed
    exit 1
}

# A command in a $(...) may fail: the scenario itself sees that.
command_failed() {
    local command=$BASH_COMMAND
    [ $BASHPID = $$ ] || exit 1
    fail "this command succeeds: $command"
}

end_failed() {
    trap - ERR
    [ -z "$keep" ] || stay
    exit 1
}

# stay: a shell in the router, until whose end all of the world goes on.
stay() {
    local shell=(nsenter -t "$ROUTER" -n -m -p env TERM="$TERM" HOME=/root)
    [ ! -e /run/lab/commands ] || exec 8</run/lab/commands
    if [ -t 8 ]; then
        echo "The world of '$scenario' goes on until this shell in its router ends." >&2
        "${shell[@]}" PS1='router:\w# ' bash --noprofile --norc -i <&8 2>&1
    else
        "${shell[@]}" bash <&8
    fi || :
}

report() {
    echo "FAILED: $scenario, after $SECONDS s"
    show_source
    echo "  expected: $1"
    [ $# -lt 2 ] || echo "  seen:     ${2:-nothing}"
    echo "--- items"
    show_items
    echo "--- messages heard"
    show_messages
    echo "--- the last batch"
    cat_quietly "$ROOT/tmp/.tmp_uplinkd_script"
    echo "--- the ISP's log"
    grep -hE 'DHCP[A-Z]+|started|failed' /run/isp/*.log 2>/dev/null | tail -n 20 || :
    echo "--- the daemon's log and output"
    cat "$ROOT/var/log/uplinkd/uplinkd.log" "$ROOT/var/log/uplinkd.out" 2>/dev/null || :
    echo "--- end of the report on $scenario"
}

# The line that failed; if it stands in a function of the scenario, the lines that called it as well.
show_source() {
    local frame line
    for ((frame = 1; frame < ${#BASH_SOURCE[@]}; frame++)); do
        [[ ${BASH_SOURCE[frame]} == */scenarios/* ]] || continue
        line=${BASH_LINENO[frame - 1]}
        printf '  %s:%d: ' "${BASH_SOURCE[frame]#/run/lab/}" "$line"
        sed -n "$line{:next; p; /\\\\$/!q; n; b next;}" "${BASH_SOURCE[frame]}" # with what continues it
    done
}

show_items() {
    local file value
    for file in "$ROOT"/run/uplinkd/items/[0-9]*; do
        value=
        [ ! -e "$file" ] || read -r value <"$file" || :
        [ -z "$value" ] || printf '%s %-24s %s\n' "${file##*/}" "$(item_name "${file##*/}")" "$value"
    done
}

show_messages() {
    local file time id rest
    for file in /run/lab/heard.*; do
        [ -e "$file" ] || continue
        while read -r time id rest; do
            [[ $id != 0x* ]] || echo "${file##*.}: $(message_name "$id") $rest"
        done <"$file"
    done
}

# wait_for COMMAND...: until it succeeds; fails when it has not within the time.
wait_for() {
    local deadline=$((SECONDS + PATIENCE))
    until "$@"; do
        [ $SECONDS -lt $deadline ] || return 1
        pause "$LOOK_EVERY"
    done
}

matches() { # GLOB COMMAND...
    local glob=$1
    shift
    # shellcheck disable=SC2053 # a pattern is meant
    [[ $("$@") == $glob ]]
}

expect_value() { # WHAT GLOB COMMAND...
    local what=$1 glob=$2
    shift 2
    wait_for matches "$glob" "$@" || fail "$what = ${glob:-nothing}" "$("$@")"
}

# expect_items NAME GLOB [NAME GLOB...]: an empty GLOB means that the item has no value.
expect_items() {
    local id
    while [ $# -gt 0 ]; do
        id=$(item_id "$1")
        wait_for item_is "$id" "$2" || fail "item $1 = ${2:-nothing}" "$(item "$1")"
        shift 2
    done
}
item_is() { # ID GLOB; starts no program
    local value='' file=$ROOT/run/uplinkd/items/$1
    [ ! -s "$file" ] || read -r value <"$file" || :
    # shellcheck disable=SC2053 # a pattern is meant
    [[ $value == $2 ]]
}

expect_flag() { expect_value "flag $1" "$2" rt uplinkctl flag get "$1"; }

# expect_address INTERFACE GLOB: its IPv4 addresses, "address/length" each.
expect_address() { expect_value "IPv4 address of $1" "$2" ipv4_addresses "$1"; }
ipv4_addresses() { rt ip -4 -o address show dev "$1" | awk '{ print $4 }'; }

# expect_ipv6_address INTERFACE GLOB: the same, of global IPv6 addresses.
expect_ipv6_address() { expect_value "global IPv6 address of $1" "$2" ipv6_addresses "$1"; }
ipv6_addresses() { rt ip -6 -o address show dev "$1" scope global | awk '{ print $4 }'; }

# expect_ipv6_nat GLOB: the rules of the POSTROUTING chain.
expect_ipv6_nat() { expect_value "IPv6 masquerading" "$1" ipv6_nat; }
ipv6_nat() { rt ip6tables -t nat -S POSTROUTING | sed 1d; }

# expect_clients NAME COUNT: so many processes of that name run in the router.
expect_clients() { expect_value "running $1 processes" "$2" count_processes "$1"; }
count_processes() { pids "$1" | wc -w; }
pids() { rt busybox pidof "$1" || :; }

# expect_background CLIENT: the processes of that name lead sessions of their own. A client forks to go
# there once its script has reported; `killall`, looking at that moment, may find the old process only.
expect_background() { expect_value "$1 still in the foreground" "" foreground_clients "$1"; }
foreground_clients() {
    # shellcheck disable=SC2016 # the router's shell expands it
    rt busybox sh -c 'for p in $(busybox pidof "$1"); do
        read -r pid _ _ _ _ session _ <"/proc/$p/stat" && [ "$pid" = "$session" ] || echo "$p"
    done' sh "$1" 2>/dev/null || :
}

# expect_file FILE GLOB: the text of one of the router's files.
expect_file() { expect_value "file $1" "$2" cat_quietly "$ROOT$1"; }
cat_quietly() { cat "$1" 2>/dev/null || :; }

# expect_reason GLOB: why this side has the priority, as the daemon's own tool explains it.
expect_reason() {
    expect_value "reason of the priority" "$1" priority_and_reason
}
priority_and_reason() { rt uplinkctl explain | sed -n 's/^priority *//p'; }

# expect_calls CALL...: so many more of the router's WAN script, "set" or "reset" with the values of the
# items that it was asked to note.
expect_calls() {
    CALLS+=$(printf '%s\n' "$@")$'\n'
    expect_file /tmp/calls "${CALLS%$'\n'}"
}

# expect_message APP MESSAGE...: these reach the application from the daemon, in this order, as its
# next ones. expect_broadcast: the same for one that goes to all.
expect_message() { expect_records 0 "$@"; }
expect_broadcast() { expect_records 1 "$@"; }

expect_records() {
    local marker=$1 app=$2 message id line
    shift 2
    for message in "$@"; do
        id=$(message_id "$message")
        line="$id from 24 bcast $marker payload 0"
        expect_value "$app hears $message, bcast $marker" "$line" next_heard "$app"
        HEARD_LINES[$app]=$((${HEARD_LINES[$app]:-0} + 1))
    done
}

next_heard() {
    local line
    mapfile -t -s "${HEARD_LINES[$1]:-0}" -n 1 line <"/run/lab/heard.$1"
    printf '%s' "${line[*]#* }"
}

# expect_setup_reports COUNT: so many more reports of a finished set-up have reached the daemon; sending
# it is the last thing that a client script does, and one still at work when its client is stopped
# would go on storing what it learned.
expect_setup_reports() {
    SETUP_REPORTS=$((${SETUP_REPORTS:-0} + $1))
    expect_value "reports of a finished set-up" "$SETUP_REPORTS" count_setup_reports
}
count_setup_reports() { grep -c 'recv msg(0x5304)' "$ROOT/var/log/uplinkd/uplinkd.log" || :; }

# expect_silence APP...: once the daemon has dealt with all it was told so far, the application has
# heard no more than what was expected.
expect_silence() {
    local app id
    settle
    for app in "$@"; do
        id=$(app_id "$app")
        rt sockmsg_send -d "$id" -m 1
        expect_value "$app hears no more" '0x0001 from 0 *' next_heard "$app"
        HEARD_LINES[$app]=$((${HEARD_LINES[$app]:-0} + 1))
    done
}

# expect_log TEXT: the log has it, since the daemon was last started.
expect_log() { wait_for log_has "$1" || fail "the log says '$1'"; }
log_has() {
    local lines=() file=$ROOT/var/log/uplinkd/uplinkd.log
    [ ! -e "$file" ] || mapfile -t -s "$LOG_MARK" lines <"$file"
    [[ ${lines[*]} == *"$1"* ]]
}

expect_healthy_daemon() {
    [ -z "${DAEMON_RUNS:-}" ] || [ -n "$(pids uplinkd)" ] ||
        fail "the daemon still runs at the end"
    ! grep -q 'Sanitizer\|runtime error' "$ROOT/var/log/uplinkd.out" 2>/dev/null ||
        fail "the sanitizers found nothing"
}
