# For scenarios that repeat something many times: what the daemon holds on to meanwhile.

[ -x /usr/bin/python3 ] || skip "no python3 here (scripts/setup installs it)"

# times SHORT LONG: how often it is to be done now; LONG with `lab/lab --long`.
times() { if [ "$long" ]; then echo "$2"; else echo "$1"; fi; }

# drive COMMAND COUNT [VARIABLE=VALUE...]: see lab/lib/drive.
drive() { rt env "${@:3}" /usr/bin/python3 -c "$(</run/lab/lib/drive)" "$1" "$2" || fail "$2 $1 are dealt with"; }

# holds: descriptors, threads, clients, then KiB of anonymous, resident and proportional memory.
holds() {
    local daemon proc
    daemon=$(pids uplinkd)
    proc=$ROOT/proc/$daemon
    printf '%s ' "$(find "$proc/fd" "$proc/task" -mindepth 1 -maxdepth 1 -path '*/fd/*' | wc -l)" \
        "$(find "$proc/task" -mindepth 1 -maxdepth 1 | wc -l)" "$(count_processes udhcpc)"
    awk '$1 == "Anonymous:" || $1 == "Rss:" || $1 == "Pss:" { of[$1] = $2 }
        END { print of["Anonymous:"], of["Rss:"], of["Pss:"] }' "$proc/smaps_rollup"
}

# ANONYMOUS: KiB that the daemon may have more of at the end.
ANONYMOUS=64
# Its own three, and the notice timer's where a mode change has armed that.
THREADS=4

# endure WHAT COUNT WARM_UP COMMAND...: runs COMMAND with WARM_UP and then with COUNT at its end; as much
# is held after it as before.
endure() {
    local what=$1 count=$2 warm_up=$3 before after start
    shift 3
    "$@" "$warm_up"
    settle
    before=$(holds) start=$SECONDS
    "$@" "$count"
    settle
    after=$(holds)
    printf '| %s | %d | %d s | %s | %s |\n' "$what" "$count" $((SECONDS - start)) "$before" "$after"
    [ "$(cut -d ' ' -f 1,3 <<<"$before")" = "$(cut -d ' ' -f 1,3 <<<"$after")" ] ||
        fail "descriptors and clients, first and third of $before, stay" "$after"
    [ "$(cut -d ' ' -f 2 <<<"$after")" -le $THREADS ] || fail "at most $THREADS threads, as in $before" "$after"
    grep -q __sanitizer /run/lab/tools/uplinkd ||
        [ "$(cut -d ' ' -f 4 <<<"$after")" -le $(($(cut -d ' ' -f 4 <<<"$before") + ANONYMOUS)) ] ||
        fail "memory of its own, in KiB, stays at $before" "$after"
}
