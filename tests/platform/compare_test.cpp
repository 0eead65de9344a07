// uplinkctl compare: what counts as another decision, and what it says to files that are none.
#include <regex>

#include "host_test.h"

static constexpr char FIRST[] = "/tmp/first", SECOND[] = "/tmp/second";

static const std::string HEAD = R"({"format":"uplinkd-events","version":1,"private":false})"
                                "\n",
                         LIVE = R"({"t":0.0,"kind":"live"})"
                                "\n";

// A line of KIND with these members, in its own time.
static std::string line(const std::string &kind, const std::string &members) {
    static int times = 0;
    return "{\"t\":" + std::to_string(++times) + ".5,\"kind\":\"" + kind + "\"," + members + "}\n";
}
static std::string item(int id, const std::string &value) {
    return line("item", "\"id\":" + std::to_string(id) + R"(,"name":"I","new":")" + value + '"');
}
static std::string client(int pid, const std::string &state) {
    return line("client", R"("client":"udhcpc","wan":0,"pid":)" + std::to_string(pid) +
                              R"(,"state":")" + state + '"');
}
static std::string sent(const std::string &to, bool accepted) {
    return line("sent", R"("pid":1,"id":28677,"name":"","to":")" + to + R"(","accepted":)" +
                            (accepted ? "true" : "false"));
}
static std::string batch(const std::string &lines) {
    return line("batch", R"("state":"run","owner":"o","lines":[)" + lines + ']');
}
static std::string priority(int value) {
    return line("decision", R"("wan_mode":5,"strategy":1,"rule":"r","text":"","priority":)" +
                                std::to_string(value));
}
static std::string conflict(int value) {
    return line("flag", R"("name":"UPLINKD_DETECT_WAN_NET_SEG_INVALID","new":")" +
                            std::to_string(value) + '"');
}

// What `uplinkctl compare` prints, and its status at the end.
static std::string compared() {
    return printed_by(std::string("./uplinkctl compare ") + FIRST + ' ' + SECOND +
                      " 2>&1; echo \"status $?\"");
}

static void expect(const std::string &first, const std::string &second,
                   const std::string &pattern) {
    put_file(FIRST, first);
    put_file(SECOND, second);
    const std::string said = compared();
    EXPECT_TRUE(std::regex_search(said, std::regex(pattern))) << pattern << '\n' << said;
}

TEST(Compare, FindsTheFirstDifferenceOfEachLane) {
    const std::string batched = batch("\"a\",\"b\""), stop = batch("\"killall udhcpc\""),
                      start = batch("\"killall udhcpc\",\"udhcpc -i eth1\""),
                      port = item(200001, "0,1"),
                      bound = client(7, "started") + client(7, "ended") + client(8, "background"),
                      missed = line("missed", R"("what":"item","name":"I")");
    const struct {
        std::string first, second, said; // "" for the same
    } CASES[] = {
        {"", "", ""},
        {port, item(200001, "1,1"), ""},                          // an input
        {sent("uis", true) + port, port + sent("uis", true), ""}, // lanes go by themselves
        {priority(0), priority(1), "DIFFERENT decision[^]*A line 3.*:0\\}\n[^]*B line 3.*:1\\}"},
        {port + item(201114, "1"), port,
         "item 201114 I\n  A line 4, [^]*after line 3.*200001[^]*"
         "  B nothing more"},
        {item(201114, "1"), item(201114, "1") + item(201114, "0"), "A nothing more\n  B line 4"},
        {item(201114, "0") + item(201114, "1"), item(201114, "1"), "DIFFERENT item 201114"},
        {missed + item(201114, "0") + item(201114, "1"), item(201114, "1"), ""},
        {missed + item(201114, "1") + item(201114, "0"), item(201114, "1"), "DIFFERENT item"},
        {sent("uis", true), sent("uis", false), "DIFFERENT sent uis"},
        {sent("uis", true), sent("textmsg", true), "sent uis[^]*sent textmsg"},
        {conflict(0), conflict(1), "DIFFERENT flag"},
        {batched, batch("\"a\",\"c\""), "other line: A \"b\", B \"c\""},
        {batched, batch("\"a\""), "other line: A \"b\", B \n"},
        {batched, line("batch", R"("state":"done","owner":"o","seconds":1)"), "DIFFERENT batch"},
        {start + bound, start + client(9, "started"), ""}, // into the background
        {start + bound, start + client(9, "started") + client(9, "ended"), "B line 5.*ended"},
        {start + client(7, "started") + stop + client(7, "ended") + client(8, "background") +
             client(8, "ended"), // went there just when it was stopped
         start + client(7, "started") + stop + client(7, "ended"), ""},
        {bound + client(8, "ended") + start + client(9, "background"),
         bound + client(8, "ended") + start, "A line 8.*background"}, // a new one
        {line("daemon", R"("pid":1,"state":"started")"),
         line("daemon", R"("pid":2,"state":"started")"), ""},
        {line("daemon", R"("pid":1,"state":"ended")"), "", "DIFFERENT daemon"},
    };
    for (const auto &[first, second, said] : CASES)
        expect(HEAD + LIVE + first, HEAD + LIVE + second,
               said.empty() ? "^the same: .*\nstatus 0\n$" : said + "[^]*status 1\n$");
    // The state at the start is none of the daemon's doing.
    expect(HEAD + item(201114, "0") + priority(0) + LIVE, HEAD + priority(1) + LIVE, "^the same");
}

TEST(Compare, RefusesWhatIsNoRecordingWithItsLine) {
    const struct {
        std::string text, said;
    } CASES[] = {
        {"", "line 1: no recording"},
        {"{}\n", "line 1: no recording"},
        {R"({"format":"uplinkd-events","version":2})"
         "\n",
         "line 1: no recording of version 1"},
        {HEAD + "{\"t\":1.0,\"kind\":\"live\"}", "line 2: cut"},
        {HEAD + LIVE + "\n", "line 3: no JSON"},
        {HEAD + "{\"t\":1.0,\"kind\":\"x\"", "line 2: cut"},
        {HEAD + "{\"t\":1.0,\"kind\":\"x\"\n", "line 2: no JSON"},
        {HEAD + "{\"t\":1.0,\"kind\":\"\\x\"}\n", "line 2: no JSON"},
        {HEAD + "{\"t\":1.0,\"kind\":\"\\u12\"}\n", "line 2: no JSON"},
        {HEAD + "{\"t\":1.0,\"kind\":\"a\nb\"}\n", "line 2: no JSON"},
        {HEAD + "{\"t\":1.,\"kind\":\"x\"}\n", "line 2: no JSON"},
        {HEAD + "{\"t\":\"1\",\"kind\":\"x\"}\n", "line 2: no time or no kind"},
        {HEAD + "{\"t\":1.0}\n", "line 2: no time or no kind"},
        {HEAD + "{\"t\":1.0,\"kind\":\"x\"} \n", "line 2: no JSON"},
        {HEAD + "{\"t\":1.0,\"kind\":\"x\",\"y\":" + std::string(100000, '[') + "}\n",
         "line 2: no JSON"},
        {HEAD + line("item", "\"id\":1"), "line 2: a member"},
    };
    for (const auto &[text, said] : CASES)
        expect(HEAD + LIVE, text,
               "^uplinkctl: " + std::string(SECOND) + ": " + said + ".*\nstatus 1\n$");
    expect(HEAD + LIVE + line("x", R"("y":{"z":[1,"\u00e9",null]})"), HEAD + LIVE, "^the same");
    remove(SECOND);
    EXPECT_TRUE(std::regex_match(compared(), std::regex("uplinkctl: cannot read .*\nstatus 1\n")));
}

TEST(Compare, SaysNothingThatATerminalObeys) {
    expect(HEAD + LIVE + item(201114, "\x7f\xc2\x9b"), HEAD + LIVE, "\"new\":\"\\?\\?\\?\"");
}
