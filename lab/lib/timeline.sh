# The demo's view of a scenario. One process watches items and batches, and notes what changes; other
# records (the ISP's log, what the siblings hear, the daemon's log) are kept anyway. Another process
# prints all of it in order of time.
declare -A READERS ITEM_NAME MESSAGE_NAME
PENDING=()

start_timeline() {
    exec {NEVER}<> <(:) # nothing ever comes: read waits on it without starting a program
    : >/run/lab/steps
    : >/run/lab/changes
    : >/run/lab/batch_seen
    local name
    for name in "${!ITEM[@]}"; do ITEM_NAME[${ITEM[$name]}]=$name; done
    for name in "${!MESSAGE[@]}"; do MESSAGE_NAME[${MESSAGE[$name]}]=$name; done
    START=$EPOCHREALTIME
    watch_changes >>/run/lab/changes &
    WATCHER=$!
    print_timeline &
    PRINTER=$!
    printf '\n=== %s\n' "$(sed -n '1s/^# //p' "/run/lab/scenarios/$scenario")"
}

finish_timeline() {
    : >/run/lab/finished
    wait "$WATCHER" "$PRINTER"
    print_state
}

step() { echo "$EPOCHREALTIME step $*" >>/run/lab/steps; }
why() { echo "$EPOCHREALTIME why $*" >>/run/lab/steps; }

pause() { read -rt "$1" -u "$NEVER" || :; }

# Starts no program, so that it can look a hundred times a second. Prints "TIME item ID OLD NEW" and
# "TIME batch LINE".
watch_changes() {
    local -A last
    local file value lines line batch=$ROOT/tmp/.tmp_uplinkd_script
    until [ -e /run/lab/finished ]; do
        pause 0.01
        for file in "$ROOT"/run/uplinkd/items/[0-9]* "${!last[@]}"; do
            value=
            { read -r value <"$file" || :; } 2>/dev/null
            [ "${last[$file]:-}" != "$value" ] || continue
            echo "$EPOCHREALTIME item ${file##*/} ${last[$file]:-(empty)} ${value:-(empty)}"
            last[$file]=$value
        done
        [[ $batch -nt /run/lab/batch_seen ]] || continue
        mapfile -t lines <"$batch"
        [[ ${lines[*]: -2} == *'# executed by '* ]] || continue # it is still being written
        echo >/run/lab/batch_seen
        for line in "${lines[@]}"; do echo "$EPOCHREALTIME batch $line"; done
    done
}

# Events are held back until all sources have been read well after they happened, so that they can
# be put in order.
print_timeline() {
    local finished='' before
    until [ "$finished" ]; do
        pause 0.1
        [ ! -e /run/lab/finished ] || finished=1
        before=$((${EPOCHREALTIME/./} - 250000))
        read_records
        print_events "$finished" $before
    done
}

event() { PENDING+=("$1 $2 $3"); } # TIME KIND TEXT

read_records() {
    local file time line reader
    for file in /run/lab/{steps,changes,heard.*} /run/isp/*.log "$ROOT/var/log/uplinkd/uplinkd.log"; do
        [ -e "$file" ] || continue
        if [ -z "${READERS[$file]:-}" ]; then
            exec {reader}<"$file"
            READERS[$file]=$reader
        fi
        while IFS=' ' read -r -u "${READERS[$file]}" time line; do
            case $file in
            */steps) event "$time" "${line%% *}" "${line#* }" ;;
            */changes) change_event "$time" "$line" ;;
            */heard.*) heard_event "$time" "${file##*.}" "$line" ;;
            */uplinkd.log) log_event "$line" ;;
            *) wire_event "$time" "$line" ;;
            esac
        done
    done
}

change_event() {
    local kind id old new
    case $2 in
    item*)
        read -r kind id old new <<<"$2"
        event "$1" item "$(printf '%-24s %s -> %s' "$(item_name "$id")" "$old" "$new")"
        ;;
    'batch # rewrite by '*) event "$1" batch "${2#batch # rewrite by }" ;;
    'batch # '* | 'batch ') ;;
    *) event "$1" batch "\$ ${2#batch }" ;;
    esac
}

heard_event() { # TIME APP "0xID from SENDER bcast MARKER ..."
    [[ $3 == *' from 24 '* ]] || return 0
    event "$1" told "$2: $(message_name "${3%% *}")$([[ $3 != *' bcast 1 '* ]] || echo ', as all are')"
}

wire_event() {
    if [[ $2 =~ DHCP(DISCOVER|OFFER|REQUEST|ACK|NAK|RELEASE).* ]]; then
        event "$1" wire "${BASH_REMATCH[0]}"
    fi
}

# "HH:MM:SS.mmm UPLINKD[PID] LEVEL [uplinkd] FUNCTION--LINE: TEXT", in UTC as the router's clock is.
log_event() {
    local clock text time
    clock=${1%% *} text=${1#*\[uplinkd\] }
    [[ $clock =~ ^([0-9]{2}):([0-9]{2}):([0-9]{2})\.([0-9]{3})$ ]] || return 0
    time=$((${START%.*} / 86400 * 86400 + 10#${BASH_REMATCH[1]} * 3600 + 10#${BASH_REMATCH[2]} * 60 +
        10#${BASH_REMATCH[3]})).${BASH_REMATCH[4]}000
    if [[ $text =~ recv\ msg\((0x[0-9A-F]+)\) ]]; then
        [[ ${BASH_REMATCH[1]} == 0xF0?? ]] || event "$time" hears "$(message_name "${BASH_REMATCH[1]}")"
    elif [[ $text != *'send msg ('* && $text != *_MSG_* ]]; then
        event "$time" log "${text//'\n'/ }"
    fi
}

print_events() { # ALL? BEFORE_MICROSECONDS
    local time kind text held=()
    [ ${#PENDING[@]} -gt 0 ] || return 0
    while IFS=' ' read -r time kind text; do
        if [ -z "$1" ] && [ "${time/./}" -gt "$2" ]; then
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
        step | why) colour=1 ;;
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

item_name() {
    local index=$(($1 / 1000 - 260))
    if ((index >= 1 && index <= 7)); then
        echo "${ITEM_NAME[$((201100 + $1 % 1000))]:-$1}_$index"
    else
        echo "${ITEM_NAME[$1]:-$1}"
    fi
}

message_name() { echo "${MESSAGE_NAME[$1]:-message} ($1)"; }

print_state() {
    local name
    printf '\nThe router now:\n'
    for name in WIRED_WAN_REAL_IFACE WIRED_WAN_NETSTATUS WIRED_WAN_CONNSTATUS WIRED_WAN_IP \
        WIRED_WAN_NETMASK WIRED_WAN_GATEWAY WIRED_WAN_DNS WIRED_WAN_DNS2 MOBILE_CONNSTATUS \
        WAN_PRIORITY; do
        printf '  item %-22s %s\n' "$name" "$(item $name)"
    done
    printf '  %-27s %s\n' "addresses of eth1" "$(ipv4_addresses eth1)" \
        "running DHCP clients" "$(count_processes udhcpc)" \
        "flag for a subnet conflict" "$(rt uplinkctl flag get UPLINKD_DETECT_WAN_NET_SEG_INVALID)"
}

start_timeline
