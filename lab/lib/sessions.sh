# Terminal sessions in the documents, kept true: a session stands between the line <!-- session NAME -->
# and the end of the indented block behind it; its commands follow the prompt "router# ".

# expect_session NAME: its commands, run in the router now, say what the document says they do. Numbers
# that differ from one time to another (pids, clock, milliseconds) are compared as such only.
expect_session() {
    awk -v mark="<!-- session $1 -->" '
        $0 == mark { inside = 1; next }
        inside && /^[^ ]/ { exit }
        inside && /^$/ { blank = blank "\n"; next }
        inside { sub(/^    /, ""); printf "%s%s\n", begun ? blank : "", $0; begun = 1; blank = "" }
    ' /run/lab/questions.md >/run/lab/session
    [ -s /run/lab/session ] || fail "docs/questions.md has a session '$1'"
    local line
    while IFS= read -r line; do
        [[ $line == 'router# '* ]] || continue
        printf '%s\n' "$line"
        rt env COLUMNS=80 sh -c "${line#router# }" 2>&1 || :
    done </run/lab/session >/run/lab/said
    diff -u --label "docs/questions.md, session $1" --label "the router says" \
        <(without_numbers </run/lab/session) <(without_numbers </run/lab/said) >/run/lab/difference ||
        fail "session $1 is as in docs/questions.md" "$(cat /run/lab/difference /run/lab/said)"
}

without_numbers() {
    sed -E 's/[0-9]{4}-[0-9]{2}-[0-9]{2}/DATE/g; s/[0-9]{2}:[0-9]{2}:[0-9]{2}(\.[0-9]{3})?/TIME/g
        s/pid [0-9]+/pid N/g; s/(192[.][0-9.]+[.])1[0-9][0-9]/\11NN/g; s/[0-9]+ (s|min) ago/N s ago/; s/--[0-9]+:/--N:/; s/in [0-9.]+ s$/in N s/'
}
