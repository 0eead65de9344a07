# The short names by which scenarios call items, messages and applications, taken from the daemon's
# own headers: DI_IFA_WIRED_WAN_IP is WIRED_WAN_IP, UPLINKD_MSG_ID_WAN_SETUP_COMPLETED is
# WAN_SETUP_COMPLETED, APP_ID_PFILTERD is pfilterd.
declare -A ITEM MESSAGE APP

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
}

# item_id NAME: the number of an item; WIRED_WAN_IP_2 is that of the additional wired WAN 2.
item_id() {
    local name=$1
    if [[ $name =~ ^(WIRED_WAN_.*)_([1-7])$ ]]; then
        echo $(((BASH_REMATCH[2] + 260) * 1000 + ITEM[${BASH_REMATCH[1]}] - 201100))
    else
        echo "${ITEM[$name]}"
    fi
}

read_names
