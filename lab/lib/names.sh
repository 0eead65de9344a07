# The short names by which scenarios call items, messages and applications, taken from the daemon's
# own headers: DI_IFA_WIRED_WAN_IP is WIRED_WAN_IP, UPLINKD_MSG_ID_WAN_SETUP_COMPLETED is
# WAN_SETUP_COMPLETED, APP_ID_PFILTERD is pfilterd.
declare -A ITEM MESSAGE APP ITEM_NAME MESSAGE_NAME

read_names() {
    local name value
    while read -r name value; do
        case $name in
        DI_IFA_*) ITEM[${name#DI_IFA_}]=$value ;;
        DI_*) ITEM[${name#DI_}]=$value ;;
        APP_ID_*) name=${name#APP_ID_} && APP[${name,,}]=$value ;;
        PEER_MSG_ID_*) MESSAGE[PEER_${name#PEER_MSG_ID_}]=$value ;;
        *_MSG_ID_*) MESSAGE[${name#*_MSG_ID_}]=$value ;;
        *_MSG_*) MESSAGE[${name#*_MSG_}]=$value ;;
        esac
    done < <(sed -n 's/^inline constexpr int \([A-Z0-9_]*\) = \([0-9A-Fx]*\);.*/\1 \2/p' \
        /run/lab/constants.h)
    for name in "${!ITEM[@]}"; do ITEM_NAME[${ITEM[$name]}]=$name; done
    for name in "${!MESSAGE[@]}"; do MESSAGE_NAME[${MESSAGE[$name]}]=$name; done
}

# item_id NAME: the number of an item; WIRED_WAN_IP_2 is that of the additional wired WAN 2.
item_id() {
    local name=$1 id
    [[ $name =~ ^(WIRED_WAN_.*)_([1-7])$ ]] && name=${BASH_REMATCH[1]}
    id=${ITEM[$name]:-}
    [ "$id" ] || fail "there is an item '$1'" "no such name in src/wan/items.h"
    [ "$name" = "$1" ] || id=$(((BASH_REMATCH[2] + 260) * 1000 + id - 201100))
    echo "$id"
}

message_id() {
    [ "${MESSAGE[$1]:-}" ] || fail "there is a message '$1'" "no such name in src/base/messages.h"
    echo "${MESSAGE[$1]}"
}

app_id() {
    [ "${APP[$1]:-}" ] || fail "there is an application '$1'" "no such name in src/base/messages.h"
    echo "${APP[$1]}"
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

read_names
