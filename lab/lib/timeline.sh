# The demo's view of a scenario: a process that watches what the world leaves behind (the ISP's log,
# the batches, the items, what the siblings hear, the daemon's log) and prints it in order of time.
declare -A READERS ITEM_NAME MESSAGE_NAME LAST_VALUE
PENDING=()

start_timeline() {
    exec {NEVER}<> <(:) # nothing ever comes: read waits on it without starting a program
    : >/run/lab/steps
    : >/run/lab/batch_seen
    invert_names
    START=$EPOCHREALTIME
    watch_world &
    WATCHER=$!
}

finish_timeline() {
    : >/run/lab/finished
    wait "$WATCHER"
    print_state
}

step() { echo "$EPOCHREALTIME $*" >>/run/lab/steps; }

# Items and batches are looked at so often that no change is missed, the rest less often. Events are
# held back for a moment, so that those of different sources can be put in order.
watch_world() {
    local round=0 last=
    while [ -z "$last" ]; do
        read -rt 0.01 -u "$NEVER" || :
        [ ! -e /run/lab/finished ] || last=1
        watch_items
        watch_batch
        round=$((round + 1))
        ((round % 10 == 0)) || [ -n "$last" ] || continue
        watch_records
        print_events "$last"
    done
}

event() { PENDING+=("$1 $2 $3"); } # TIME KIND TEXT

watch_items() {
    local file id value
    for file in "$ROOT"/run/uplinkd/items/[0-9]* "${!LAST_VALUE[@]}"; do
        id=${file##*/} value=
        { read -r value <"$file" || :; } 2>/dev/null
        [ "${LAST_VALUE[$file]:-}" != "$value" ] || continue
        event "$EPOCHREALTIME" item \
            "$(printf '%-28s %s -> %s' "$(item_name "$id")" "${LAST_VALUE[$file]:-(empty)}" "${value:-(empty)}")"
        LAST_VALUE[$file]=$value
    done
}

watch_batch() {
    local batch=$ROOT/tmp/.tmp_uplinkd_script lines line
    [[ $batch -nt /run/lab/batch_seen ]] || return 0
    mapfile -t lines <"$batch"
    [[ ${lines[*]: -2} == *'# executed by '* ]] || return 0 # still being written
    echo >/run/lab/batch_seen
    for line in "${lines[@]}"; do [ -z "$line" ] || event "$EPOCHREALTIME" batch "$line"; done
}

watch_records() {
    local file time line reader
    for file in /run/lab/steps /run/isp/*.log /run/lab/heard.* "$ROOT/var/log/uplinkd/uplinkd.log"; do
        [ -e "$file" ] || continue
        if [ -z "${READERS[$file]:-}" ]; then
            exec {reader}<"$file"
            READERS[$file]=$reader
        fi
        while read -r -u "${READERS[$file]}" time line; do
            case $file in
            */steps) event "$time" step "$line" ;;
            */heard.*) heard_event "$time" "${file##*.}" "$line" ;;
            */uplinkd.log) log_event "$line" ;;
            *) wire_event "$time" "$line" ;;
            esac
        done
    done
}

heard_event() { # TIME APP "0xID from SENDER bcast MARKER ..."
    local id=${3%% *}
    [[ $3 == *' from 24 '* ]] || return 0
    event "$1" told "$2$([[ $3 != *' bcast 1 '* ]] || echo ' (broadcast)'): $(message_name "$id")"
}

wire_event() {
    if [[ $2 =~ DHCP(DISCOVER|OFFER|REQUEST|ACK|NAK|RELEASE|SOLICIT|ADVERTISE|REPLY).* ]]; then
        event "$1" wire "${BASH_REMATCH[0]}"
    fi
}

# "HH:MM:SS.mmm UPLINKD[PID] LEVEL TEXT", after the date, in UTC as the router's clock is.
log_event() {
    local clock=${1%% *} text=${1#* * * } time
    [[ $clock =~ ^([0-9]{2}):([0-9]{2}):([0-9]{2}\.[0-9]{3})$ ]] || return 0
    time=$((${START%.*} / 86400 * 86400 + 10#${BASH_REMATCH[1]} * 3600 + 10#${BASH_REMATCH[2]} * 60))
    time=$((time + 10#${BASH_REMATCH[3]%.*})).${BASH_REMATCH[3]#*.}000
    text=${text#\[uplinkd\] }
    if [[ $text =~ recv\ msg\((0x[0-9A-F]+)\) ]]; then
        [[ ${BASH_REMATCH[1]} == 0xF0?? ]] || event "$time" hears "$(message_name "${BASH_REMATCH[1]}")"
    elif [[ $text != *'send msg ('* && $text != *_MSG_* ]]; then
        event "$time" log "$text"
    fi
}

print_events() { # ALL?
    local time kind text limit held=() line
    [ ${#PENDING[@]} -gt 0 ] || return 0
    limit=$((${EPOCHREALTIME/./} - 150000))
    while read -r time kind text; do
        if [ -z "$1" ] && [ "${time/./}" -gt $limit ]; then
            held+=("$time $kind $text")
        else
            print_event $((${time/./} - ${START/./})) "$kind" "$text"
        fi
    done < <(printf '%s\n' "${PENDING[@]}" | sort -s -n -k 1,1)
    PENDING=("${held[@]}")
}

print_event() { # MICROSECONDS KIND TEXT
    local colour=
    if [ -t 1 ]; then
        case $2 in
        step) colour=1 ;;
        wire) colour=36 ;;
        batch) colour=33 ;;
        item) colour=32 ;;
        told | hears) colour=35 ;;
        esac
    fi
    [ "$2" != step ] || echo
    printf '%s%4d.%03d  %-6s %s%s\n' "${colour:+$'\e['${colour}m}" $(($1 / 1000000)) \
        $(($1 / 1000 % 1000)) "$2" "$3" "${colour:+$'\e[0m'}"
}

invert_names() {
    local name
    for name in "${!ITEM[@]}"; do ITEM_NAME[${ITEM[$name]}]=$name; done
    for name in "${!MESSAGE[@]}"; do MESSAGE_NAME[${MESSAGE[$name]}]=$name; done
}

item_name() {
    local id=$1 index=$(($1 / 1000 - 260))
    ((index >= 1 && index <= 7)) || { echo "${ITEM_NAME[$id]:-$id}" && return; }
    echo "${ITEM_NAME[$((201100 + id % 1000))]:-$id}_$index"
}

message_name() { echo "${MESSAGE_NAME[$1]:-message} ($1)"; }

print_state() {
    local name
    printf '\nThe router now:\n'
    for name in WIRED_WAN_REAL_IFACE WIRED_WAN_NETSTATUS WIRED_WAN_CONNSTATUS WIRED_WAN_IP \
        WIRED_WAN_NETMASK WIRED_WAN_GATEWAY WIRED_WAN_DNS WIRED_WAN_DNS2 WAN_PRIORITY; do
        printf '  item %-24s %s\n' "$name" "$(item $name)"
    done
    printf '  %-29s %s\n' "address of eth1" "$(ipv4_addresses eth1)" \
        "running DHCP clients" "$(count_processes udhcpc)" \
        "subnet-conflict flag" "$(rt uplinkctl flag get UPLINKD_DETECT_WAN_NET_SEG_INVALID)"
}

start_timeline
