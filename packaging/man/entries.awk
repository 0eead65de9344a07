# What uplinkctl says (the first file: KIND and the columns of a row), in the places of a template (the second).

NR == FNR {
    count[$1]++
    row[$1, count[$1]] = $0
    if ($1 == "settings")
        known[$2] = 1
    else if ($1 == "items" || $1 == "messages")
        known[$3] = 1
    next
}

# The templates' lines as they are; the markers are looked for first, to know where each part ends.
{ line[++lines] = $0 }
/^@/ { split($0, marker, " "); if (marker[2] != "") begins[substr(marker[1], 2), marker[2]] = 1 }

END {
    for (n = 1; n <= lines; n++) {
        if (line[n] !~ /^@/)
            print line[n]
        else
            list(line[n])
    }
}

function list(marker, parts, kind, n, inside) {
    split(substr(marker, 2), parts, " ")
    kind = parts[1]
    inside = parts[2] == ""
    print ".Bl -tag -width Ds"
    for (n = 1; n <= count[kind]; n++) {
        split(row[kind, n], column, "\t")
        if (name_of(kind) == parts[2])
            inside = 1
        else if ((kind, name_of(kind)) in begins)
            inside = 0
        if (inside)
            entry(kind)
    }
    print ".El"
}

function name_of(kind) { return kind == "settings" || kind == "flags" ? column[2] : column[3] }

function entry(kind) {
    if (kind == "settings")
        setting()
    else if (kind == "items")
        item()
    else if (kind == "messages")
        message()
    else if (kind == "applications") {
        print ".It " column[2] " Va " column[3]
        prose(sentence(column[4]))
    } else {
        print ".It Va " column[2]
        prose(sentence(column[3]))
    }
}

# key, indexes, range, words, default, otherwise, effect
function setting(texts, n, count_of_lines, in_list) {
    if (column[3] ~ /^0-/)
        print ".It Va " column[2] "_ Ns Ar n"
    else
        print ".It Va " column[2] (column[3] == "" ? "" : " , " column[2] "_ Ns Ar n")
    count_of_lines = split(column[8], texts, /\\n/)
    for (n = 1; n <= count_of_lines; n++) {
        if (texts[n] ~ /^([0-9]|any other): /) {
            if (!in_list)
                print ".Bl -tag -width \"any other\" -compact"
            in_list = 1
            print ".It " substr(texts[n], 1, index(texts[n], ": ") - 1)
            sub(/^[^:]*: /, "", texts[n])
            prose(texts[n])
        } else {
            if (in_list)
                print ".El"
            in_list = 0
            prose(texts[n])
        }
    }
    if (in_list)
        print ".El"
    prose("Range: " column[4] ".")
    if (column[7] == "the default counts") {
        prose("The default is " column[6] ", also for any other value.")
        return
    }
    prose(column[6] == "none" ? "There is no default." : "The default is " column[6] ".")
    if (column[7] != "")
        prose("With another value, " column[7] ".")
}

# number, name, writer, meaning; the items of the sub-ports are told of with index 0's.
function item() {
    if (column[3] ~ /^WIRED_WAN_.*_[1-7]$/)
        return
    print ".It " column[2] " Va " column[3]
    prose(sentence(column[5]))
    if ((column[3] "_1") in known) {
        print "(Sub-port"
        printf ".Ar n : No 26 Ns Ar n Ns %03d.)\n", column[2] % 1000 - 100
    }
    prose("Written by " writer(column[4]) ".")
}

function writer(word) {
    if (word == "router")
        return "other programs of the router"
    if (word == "client")
        return "the clients' scripts, emptied by the daemon"
    if (word == "shared")
        return "another program, the daemon or a script, at different times"
    return "the " word
}

# number, name, direction, peers, meaning
function message(others) {
    print ".It " column[2] " Va " column[3]
    others = column[5] == "any" ? "any application" : column[5] == "all" ? "all applications" : column[5]
    if (column[4] == "received")
        prose("Sent by " others " to uplinkd.")
    else if (column[4] == "sent")
        prose("Sent by uplinkd to " others ".")
    else
        prose("Sent by any application to uplinkd, and by uplinkd to " others ".")
    prose(sentence(column[6]))
}

# A phrase as a sentence; one that begins with a value stays as it is.
function sentence(phrase) {
    return (phrase ~ /^[a-z]*[0-9]/ ? substr(phrase, 1, 1) : toupper(substr(phrase, 1, 1))) substr(phrase, 2) (phrase ~ /\.$/ ? "" : ".")
}

# Text in the page's form: a sentence begins a line; what is in quotes and what is a name stand out.
function prose(text, words, n, total, mark) {
    total = split(text, words, " ")
    out = ""
    for (n = 1; n <= total; n++) {
        mark = ""
        if (words[n] ~ /^'.*'[.,]?$/) {
            mark = words[n]
            gsub(/'/, "", mark)
            special("Ql", mark)
        } else if (bare(words[n]) in known && words[n] ~ /_/) {
            special("Va", words[n])
        } else {
            if (length(out) + length(words[n]) > 76)
                flush()
            out = out (out == "" ? "" : " ") words[n]
        }
        if (words[n] ~ /\.\)?$/ && words[n + 1] ~ /^[(A-Z0-9']/)
            flush()
    }
    flush()
}

function bare(word) {
    sub(/[.,:;)]+$/, "", word)
    return word
}

function special(macro, word, end) {
    flush()
    end = substr(word, length(bare(word)) + 1)
    print "." macro " " bare(word) (end == "" ? "" : " " end)
}

function flush() {
    if (out != "")
        print out
    out = ""
}
