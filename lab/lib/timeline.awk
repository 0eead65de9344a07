# Draws what `uplinkctl watch` says, for people who see it for the first time: what is told to whom, what
# is decided and why, and the few items in which it shows; with verbose=1 everything. A line is
# "HH:MM:SS.mmm  KIND     TEXT"; those of the program LAB are the scenario's own words.

function milliseconds(clock, parts) {
    split(clock, parts, /[:.]/)
    return ((parts[1] * 60 + parts[2]) * 60 + parts[3]) * 1000 + parts[4]
}

function show(kind, text, code, line) {
    if (is_quiet)
        return
    if (!verbose && kind == "why") { # the side in place of the kind
        kind = text ~ /^1/ ? "-> WAN" : "-> mobile"
        sub(/^[^:]*: /, "", text)
    }
    line = sprintf("%6.3f %-9s %s", (now - start) / 1000, kind, text)
    if (colour && (kind in COLOUR))
        line = "\033[" COLOUR[kind] "m" line "\033[0m"
    print line
    fflush()
}

function show_words(text) {
    if (!is_over)
        print colour ? "\033[1m" text "\033[0m" : text
    fflush()
}

# Items that come one after the other are one line.
function flush_items() {
    if (items != "")
        show("item", items)
    items = ""
}

function add_item(text) {
    sub(/: .* -> /, "=", text)
    if (items != "" && length(items) + length(text) > 60)
        flush_items()
    items = items (items == "" ? "" : "  ") text
}

# The first TO after the first FROM, and how long after.
function print_verdict(text, from, to, i, begun) {
    begun = -1
    for (i = 1; i <= count; i++) {
        if (begun < 0 && event[i] ~ from)
            begun = time[i]
        else if (begun >= 0 && event[i] ~ to) {
            sub(/%s/, time[i] - begun, text)
            show("=====>", text)
            is_over = is_quiet = !verbose
            return
        }
    }
    show("=====>", "NOT SEEN: " text)
    failed = 1
}

function scenario_says(text, word, parts) {
    word = text
    sub(/ .*/, "", word)
    sub(/^[a-z]+ ?/, "", text)
    if (word == "begin") {
        if (!begun)
            system(": >/run/lab/watching")
        begun = 1
    } else if (word == "step") {
        # How it starts is not what a scene is about, nor what comes after its verdict.
        is_quiet = !verbose && (text ~ /^The daemon starts/ || is_over)
        show_words("* " text)
    } else if (word == "decode") {
        show_words("  " text)
    } else if (word == "verdict") {
        split(text, parts, "|")
        print_verdict(parts[1], parts[2], parts[3])
    } else if (word == "end") {
        exit failed
    }
}

BEGIN {
    COLOUR["=====>"] = "1;32"; COLOUR["why"] = COLOUR["-> WAN"] = COLOUR["-> mobile"] = "1;34"
    COLOUR["batch"] = 33; COLOUR["item"] = 32; COLOUR["sent"] = COLOUR["received"] = 35
    COLOUR["client"] = 36; COLOUR["flag"] = 31
    OF_INTEREST = "^(WAN_PRIORITY|.*WAN_IP|.*GATEWAY):"
    is_quiet = !verbose
}

/^ / { # the commands of a batch
    if (verbose)
        print
    next
}

{
    clock = $1
    kind = $2
    text = substr($0, 24)
    now = milliseconds(clock)
    if (!start)
        start = now
    count++
    event[count] = kind " " text
    time[count] = now
}

kind != "item" && kind != "missed" { flush_items() }

kind == "log" && text ~ /^(begin|step|decode|verdict|end)( |$)/ { scenario_says(text); next }
text ~ /0xF0[0-9A-F][0-9A-F]/ { next } # the scenario asks whether the daemon has dealt with all
kind == "item" && text ~ /written again/ { if (verbose) show(kind, text); next }
kind == "item" && verbose { show(kind, text); next }
kind == "item" { if (text ~ OF_INTEREST) add_item(text); next }
kind == "batch" && !verbose && text !~ / done in / { next }
kind == "log" || kind == "setting" || kind == "file" || kind == "watch" { if (verbose) show(kind, text); next }
kind == "flag" && text ~ /^downlinkd/ { if (verbose) show(kind, text); next }
kind == "client" && text !~ /started/ && !verbose { next }
kind == "sent" && text ~ /REFUSED/ && !verbose { next } # nobody plays that part here
{ show(kind, text) }
