# The short names by which scenarios call items, messages and applications, as the tools have them:
# WIRED_WAN_IP_2 is the item of the additional wired WAN 2.
declare -A ITEM MESSAGE APP ITEM_NAME MESSAGE_NAME

read_names() {
    local number name
    while IFS=$'\t' read -r number name _; do
        ITEM[$name]=$number ITEM_NAME[$number]=$name
    done < <(/run/lab/tools/uplinkctl names items)
    while IFS=$'\t' read -r number name _; do
        MESSAGE[$name]=$number MESSAGE_NAME[$number]=$name
    done < <(/run/lab/tools/uplinkctl names messages)
    while IFS=$'\t' read -r number name _; do APP[$name]=$number; done < <(/run/lab/tools/uplinkctl names applications)
}

number_of() { # KIND NAME NUMBER
    [ "$3" ] || fail "there is $1 '$2'" "uplinkctl names does not list it"
    echo "$3"
}
item_id() { number_of "an item" "$1" "${ITEM[$1]:-}"; }
message_id() { number_of "a message" "$1" "${MESSAGE[$1]:-}"; }
app_id() { number_of "an application" "$1" "${APP[$1]:-}"; }

item_name() { echo "${ITEM_NAME[$1]:-$1}"; }
message_name() { echo "${MESSAGE_NAME[$1]:-message} ($1)"; }

read_names
