# The demo's view of a scenario: what `uplinkctl watch` says in the router, drawn by timeline.awk. The
# scenario's own words reach it through the router's log, so that they stand in the one order of all.
WATCH_LOG=$ROOT/var/log/uplinkd/uplinkd.log

start_timeline() {
    printf '\n=== %s\n' "$(sed -nE '1s/^# ([^.]*\.).*/\1/p' "/run/lab/scenarios/$scenario")"
    mkfifo /run/lab/seen
    rt uplinkctl watch >/run/lab/seen 2>/dev/null &
    busybox awk -v verbose="$verbose" -v colour="$colour" -f /run/lab/lib/timeline.awk /run/lab/seen &
    RENDERER=$!
    until [ -e "$ROOT/var/log/uplinkd" ]; do pause 0.01; done
    # It has seen nothing before it says this.
    until [ -e /run/lab/watching ]; do
        say begin
        pause 0.02
    done
}

finish_timeline() {
    say end
    wait "$RENDERER"
    [ -z "$last" ] || show_state
}

say() { # WORD TEXT...: one line of the log
    printf '%(%F %T)T.000 LAB[0] 0 %s\n' -1 "$*" >>"$WATCH_LOG"
}

step() { say step "$*"; }
decode() { say decode "$(rt uplinkctl status | sed -nE 's/^(WAN mode|strategy) +/\1 /p' | paste -sd ';' | sed 's/;/; /')"; }
verdict() { say verdict "$1|$2|$3"; }

show_state() {
    printf '\nThe router now, by uplinkctl status:\n\n'
    rt uplinkctl status
}

start_timeline
