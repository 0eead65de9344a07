// The generated scripts and whole batches, run by busybox's shell with stubs for every tool. The
// stubs say which commands were run, with exactly which arguments; nothing else may have happened.
//
// The scripts' texts are fixed, and expand some variables without quotes. So a value from the
// network is split at blanks, and its wildcards are matched with files: it can become several
// arguments, of its own choice, of the command that it belongs to, and no more; never a command, a
// redirection or an argument of another one. That is the model here. The clients leave less: udhcpc
// and udhcpc6 write addresses from numbers, and pppd takes its names from the kernel.
#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <glob.h>
#include <map>
#include <sstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "fuzz.h"
#include "memory_platform.h"
#include "provision/clients/dhcpv4.h"
#include "provision/clients/dhcpv6.h"
#include "provision/clients/ppp.h"
#include "provision/wired_wan.h"
#include "sandbox.h"
#include "wan/items.h"

namespace fs = std::filesystem;
using words = std::vector<std::string>;
using calls = std::vector<words>;

static const std::string STUBS = "/run/stub/", WORK = "/run/work", SCRIPT = "/tmp/script";
static const std::string BATCH = "/tmp/.tmp_uplinkd_script", CONF = "/proc/sys/net/ipv6/conf/";

static constexpr const char *STUB = R"(#!/bin/busybox sh
name=${0#/run/stub/}
if [ "$name" = pppd ]; then pty=$2; shift 2; fi
printf '%s\0' $# "$name" "$@" >&9
case $name,$3 in
pppd,*) exec /bin/busybox sh -c "$pty" ;; # as pppd does
ip6tables,-C) exit "$STUB_RULE" ;;
cat,*) printf '%s\n' "$STUB_PID" ;;
awk,*2*) printf '%s\n' "$STUB_ADDRESS" ;;
awk,*) printf '%s\n' "$STUB_GATEWAY" ;;
addr_format,*) printf '%s\n' "$STUB_FORM" ;;
devinfo,*) printf '%s\n' "$STUB_ITEM" ;;
esac
)";

static void prepare() {
    fs::create_directories(STUBS);
    fs::create_directories(WORK);
    for (const char *name : {"a", "b c", "-d", "\\*"})
        put_file(WORK + "/" + name, "");
    put_file(STUBS + "stub", STUB);
    chmod((STUBS + "stub").c_str(), 0755);
    for (const char *name : {"addr_format", "awk", "cat", "chmod", "devinfo", "grep", "ifconfig",
                             "ip", "ip6tables", "kill", "killall", "pppd", "pppoe", "rm", "sleep",
                             "sockmsg_send", "touch", "udhcpc", "udhcpc6"})
        fs::create_symlink("stub", STUBS + name);
    if (mount("tmpfs", CONF.c_str(), "tmpfs", 0, "") != 0 ||
        mount((STUBS + "stub").c_str(), "/sbin/ip", nullptr, MS_BIND, nullptr) != 0) {
        printf("SKIPPED: /sbin/ip or %s cannot be replaced in a sandbox\n", CONF.c_str());
        exit(EXIT_SKIPPED);
    }
}

// Every file that a script could make in the sandbox.
static std::map<std::string, std::string> files() {
    std::map<std::string, std::string> all;
    for (const std::string folder : {"/tmp", "/etc", "/run", "/var/log", CONF.c_str()})
        for (const auto &file : fs::recursive_directory_iterator(folder))
            all[file.path()] = file.is_regular_file() ? file_text(file.path()) : "";
    return all;
}

// Runs the script, with the function in the place of the shell's own kill.
static calls run(const std::string &script, const std::string &argument, words environment) {
    static constexpr const char *SHELL = "kill() { /run/stub/kill \"$@\"; }; . \"$0\"";
    environment.push_back("PATH=/run/stub");
    std::vector<char *> variables;
    for (std::string &variable : environment)
        variables.push_back(variable.data());
    variables.push_back(nullptr);
    int ends[2];
    DEMAND(pipe2(ends, O_CLOEXEC) == 0);
    const pid_t shell = vfork();
    if (shell == 0) {
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        for (int fd = 0; fd < 3; fd++)
            dup2(null, fd);
        dup2(ends[1], 9);
        if (chdir(WORK.c_str()) == 0)
            execle("/bin/busybox", "sh", "-c", SHELL, script.c_str(), argument.c_str(), nullptr,
                   variables.data());
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    char bytes[4096];
    for (ssize_t length; (length = TEMP_FAILURE_RETRY(read(ends[0], bytes, sizeof bytes))) > 0;)
        output.append(bytes, static_cast<size_t>(length));
    close(ends[0]);
    TEMP_FAILURE_RETRY(waitpid(shell, nullptr, 0));
    calls made;
    std::istringstream records(output);
    for (std::string count; std::getline(records, count, '\0');) {
        words call(std::stoul(count) + 1);
        for (std::string &word : call)
            std::getline(records, word, '\0');
        made.push_back(call);
    }
    return made;
}

static std::string text_of(const calls &made) {
    std::string text;
    for (const words &call : made) {
        for (const std::string &word : call)
            text += shown(word) + " ";
        text += "; ";
    }
    return text;
}

// Runs the script and compares what it called. Those of a pipeline or in the background come in any
// order. FILES are what it may have changed, with their new texts; "*" stands for any number.
static void expect(const std::string &script, const std::string &argument, const words &environment,
                   calls expected, const std::map<std::string, std::string> &changes = {}) {
    const auto is_ordered = [](const words &call) {
        const words in_any_order = {"awk", "cat", "grep", "pppd", "pppoe", "udhcpc", "udhcpc6"};
        return std::count(in_any_order.begin(), in_any_order.end(), call[0]) == 0;
    };
    auto left = files();
    calls made = run(script, argument, environment);
    for (calls *all : {&made, &expected})
        std::sort(std::stable_partition(all->begin(), all->end(), is_ordered), all->end());
    if (made != expected)
        fprintf(stderr, "made     %s\nexpected %s\n", text_of(made).c_str(),
                text_of(expected).c_str());
    DEMAND(made == expected, file_text(script));
    auto now = files();
    for (const auto &[path, text] : changes) {
        if (text == "*" && now.contains(path))
            DEMAND(now[path].find_first_not_of("0123456789\n") == std::string::npos, now[path]);
        left[path] = text == "*" ? now[path] : text;
    }
    for (const auto &[path, text] : now)
        DEMAND(left.contains(path) && left[path] == text, path, text);
    DEMAND(left.size() == now.size());
}

// The arguments that VALUE becomes where it stands without quotes.
static words fields(const std::string &value) {
    words found;
    std::string rest = value;
    std::replace_if(
        rest.begin(), rest.end(), [](char c) { return c == '\t' || c == '\n'; }, ' ');
    std::istringstream stream(rest);
    const std::string from = fs::current_path();
    fs::current_path(WORK);
    for (std::string word; std::getline(stream, word, ' ');) {
        glob_t matches;
        if (word.empty())
            continue;
        if (glob(word.c_str(), 0, nullptr, &matches) == 0)
            found.insert(found.end(), matches.gl_pathv, matches.gl_pathv + matches.gl_pathc);
        else
            found.push_back(word);
        globfree(&matches);
    }
    fs::current_path(from);
    return found;
}

static std::string field(const std::string &value, size_t index) {
    const words all = fields(value);
    return index < all.size() ? all[index] : "";
}

// A call of words, of which those in FIELDS stand without quotes.
struct unquoted {
    std::string value;
};
struct part {
    part(const char *word) : all{word} {}
    part(const std::string &word) : all{word} {}
    part(int number) : all{std::to_string(number)} {}
    part(const unquoted &text) : all(fields(text.value)) {}
    words all;
};
static words call(const std::vector<part> &parts) {
    words result;
    for (const part &one : parts)
        result.insert(result.end(), one.all.begin(), one.all.end());
    return result;
}

static constexpr wan_di_set SET = wired_record(0);
static const words REPORT = {"sockmsg_send", "-d", "24", "-m", "21252"};

static std::string take_hostile(FuzzedDataProvider &input) {
    std::string text;
    for (int pieces = input.ConsumeIntegralInRange(0, 3); pieces > 0; pieces--)
        text += input.ConsumeBool()
                    ? take_text(input, 12)
                    : input.PickValueInArray(
                          {"10.0.0.2", "2001:db8::1", " ",      "\n",         "\t",
                           "*",        "?",           "[a-b]",  "$(touch x)", "`touch x`",
                           ";touch x", "&touch x|b",  ">x",     "-h",         "\"",
                           "'",        "\\",          "(",      "!",          "=",
                           "~",        "#",           "${IFS}", "$((1/0))",   "/",
                           "x=1 ",     "{a,b}",       "\x81",   "\x88"});
    return text;
}

static std::string take_ifname(FuzzedDataProvider &input) {
    std::string name = input.ConsumeBool() ? take_hostile(input).substr(0, 15) : "eth1";
    name.erase(std::remove(name.begin(), name.end(), '/'), name.end()); // nor does the kernel
    return name;
}

static void lease(FuzzedDataProvider &input) {
    uplinkd_dhcpcv4_write_script(SCRIPT.c_str(), "fuzz", &SET, 24, 21252);
    std::map<std::string, std::string> in;
    words environment;
    for (const char *name : {"interface", "ip", "mask", "subnet", "broadcast", "router", "dns"}) {
        in[name] = take_hostile(input);
        environment.push_back(name + ("=" + in[name]));
    }
    const std::string event = input.PickValueInArray({"bound", "renew", "deconfig", "leasefail"});
    const unquoted interface { in["interface"] };
    calls expected;
    if (event != "leasefail")
        expected.push_back(call({"/sbin/ip", "-4", "addr", "flush", "dev", interface}));
    if (event == "deconfig")
        expected.push_back(call({"/sbin/ip", "link", "set", "dev", interface, "up"}));
    if (event == "bound" || event == "renew") {
        const unquoted broadcast{in["broadcast"].empty() ? "+" : in["broadcast"]};
        expected.push_back(call({"/sbin/ip", "addr", "add", "dev", interface, "local",
                                 unquoted{in["ip"] + "/" + in["mask"]}, "broadcast", broadcast}));
        if (!in["subnet"].empty())
            expected.push_back(call({"devinfo", "201103", unquoted{in["subnet"]}}));
        if (!in["ip"].empty())
            expected.push_back(call({"devinfo", "201102", unquoted{in["ip"]}}));
        if (!fields(in["router"]).empty())
            expected.push_back(call({"devinfo", "201104", unquoted{field(in["router"], 0)}}));
        for (size_t i = 0; i < std::min<size_t>(fields(in["dns"]).size(), 2); i++)
            expected.push_back(
                call({"devinfo", i == 0 ? "201106" : "201107", unquoted{field(in["dns"], i)}}));
        expected.push_back(REPORT);
    }
    expect(SCRIPT, event, environment, expected);
}

static void lease6(FuzzedDataProvider &input) {
    const bool stateful = input.ConsumeBool();
    const auto write =
        stateful ? uplinkd_dhcpcv6_write_stateful_script : uplinkd_dhcpcv6_write_stateless_script;
    write(SCRIPT.c_str(), "fuzz", &SET, 1, 7, 24, 21252);
    const std::string name = take_hostile(input), ipv6 = take_hostile(input);
    const std::string dns = take_hostile(input);
    const std::string shown_address =
        input.PickValueInArray({"", "2001:db8::2/64", "a::1/64\nb::1/64"});
    const std::string gateway = input.PickValueInArray({"", "fe800000000000000000000000000001"});
    const std::string form = input.PickValueInArray({"", "2001:db8::1"});
    const std::string item = input.PickValueInArray({"", "2001:db8::1", "?"});
    const int rule = input.ConsumeIntegralInRange(0, 2);
    const std::string event = input.PickValueInArray({"bound", "renew", "deconfig", "stateless"});
    const std::string address = stateful ? ipv6 : shown_address.substr(0, shown_address.rfind('/'));
    const unquoted interface { name };
    const auto masquerade = [&](const char *action) {
        return call(
            {"ip6tables", "-t", "nat", action, "POSTROUTING", "-o", interface, "-j", "MASQUERADE"});
    };
    calls expected;
    if (event == "deconfig") {
        if (stateful)
            expected.push_back(
                call({"ip", "-6", "address", "flush", "scope", "global", "dev", interface}));
        expected.push_back(masquerade("-D"));
    }
    const bool has_route = !gateway.empty() && (stateful || !address.empty());
    for (int i = 0; i < (has_route ? 1 : 2) && (event == "bound" || event == "renew"); i++) {
        if (!stateful) {
            expected.push_back(
                call({"ip", "-6", "address", "show", unquoted{field(name, 0)}, "scope", "global"}));
            expected.push_back({"grep", "inet6"});
            expected.push_back({"awk", "-F", " ", "{print $2}"});
        }
        expected.push_back({"cat", "/proc/net/ipv6_route"});
        expected.push_back({"grep", "\\b00450003\\b"});
        expected.push_back({"grep", "\\b" + name + "$"});
        expected.push_back({"awk", "-F", " ", "{print $5}"});
        if (!has_route) {
            expected.push_back({"sleep", "7"});
            continue;
        }
        const auto format = [&](const char *spelling, const std::string &value) {
            expected.push_back(call(
                {"addr_format", "-6", "-s", spelling, "-d", "compact", "-a", unquoted{value}}));
        };
        format("perfer", address);
        format("no_separator", gateway);
        format("perfer", field(dns, 0));
        format("perfer", field(dns, 1));
        const bool renew = !form.empty() && form != item;
        const words ids = {"201108", "201128", "201109", "201110"};
        for (size_t n = 0; n < (renew ? 1 : 4); n++)
            expected.push_back({"devinfo", ids[n]});
        if (!renew)
            break;
        if (stateful)
            expected.push_back(
                call({"ip", "-6", "address", "add", unquoted{ipv6 + "/64"}, "dev", interface}));
        for (const std::string &id : ids)
            expected.push_back({"devinfo", id, form});
        expected.push_back(masquerade("-C"));
        if (rule == 1)
            expected.push_back(masquerade("-A"));
        expected.push_back(REPORT);
    }
    expect(SCRIPT, event,
           {"interface=" + name, "ipv6=" + ipv6, "dns=" + dns, "STUB_ADDRESS=" + shown_address,
            "STUB_GATEWAY=" + gateway, "STUB_FORM=" + form, "STUB_ITEM=" + item,
            "STUB_RULE=" + std::to_string(rule)},
           expected);
}

static void ppp(FuzzedDataProvider &input) {
    const std::string name = take_ifname(input), link = take_ifname(input);
    const words in = {take_hostile(input), take_hostile(input), take_hostile(input),
                      take_hostile(input)};
    const std::string pid = take_hostile(input);
    calls expected;
    std::map<std::string, std::string> changes;
    const int script = input.ConsumeIntegralInRange(0, 3);
    switch (script) {
    case 0:
        uplinkd_ppp_write_ip_up_script(SCRIPT.c_str(), &SET, 24, 21252, "fuzz");
        expected = {call({"devinfo", "201106", unquoted{in[0]}}),
                    call({"devinfo", "201107", unquoted{in[1]}}),
                    call({"devinfo", "201102", unquoted{in[2]}}),
                    call({"devinfo", "201104", unquoted{in[3]}}),
                    call({"devinfo", "201111", unquoted{link}}),
                    {"devinfo", "201103", "255.255.255.255"},
                    REPORT};
        if (in[0] == in[1])
            expected.erase(expected.begin() + 1);
        break;
    case 1:
        uplinkd_ppp_write_ip_down_script(SCRIPT.c_str(), &SET, name.c_str(), 24, 21252, "fuzz");
        expected = {call({"devinfo", "201111", unquoted{name}})};
        for (const char *id : {"201106", "201107", "201102", "201104", "201103"})
            expected.push_back({"devinfo", id, ""});
        expected.push_back(REPORT);
        break;
    case 2:
        uplinkd_ppp_write_ipv6_up_script(SCRIPT.c_str(), "/tmp/lease", "/tmp/pid", "fuzz");
        expected = {call({"udhcpc6", "-i", unquoted{link}, "-s", "/tmp/lease", "-p", "/tmp/pid",
                          "-r", "no", "-O", "23"})};
        fs::create_directories(CONF + "eth1");
        if (link != ".." && fs::is_directory(CONF + link))
            changes = {{fs::path(CONF + link + "/accept_ra").lexically_normal(), "2\n"}};
        break;
    case 3:
        uplinkd_ppp_write_ipv6_down_script(SCRIPT.c_str(), &SET, name.c_str(), "/tmp/pid", 24,
                                           21252, "fuzz");
        expected = {{"cat", "/tmp/pid"}};
        if (pid.find_first_not_of('\n') != pid.npos) // as command substitution leaves it
            expected.push_back(call({"kill", unquoted{pid}}));
        expected.push_back({"rm", "/tmp/pid"});
        expected.push_back(call({"devinfo", "201111", unquoted{name}}));
        for (const char *id : {"201108", "201109", "201110"})
            expected.push_back({"devinfo", id, ""});
        expected.push_back(REPORT);
    }
    expect(SCRIPT, "",
           {"DNS1=" + in[0], "DNS2=" + in[1], "IPLOCAL=" + in[2], "IPREMOTE=" + in[3],
            "IFNAME=" + link, "STUB_PID=" + pid},
           expected, changes);
    fs::remove_all(CONF + "eth1");
    fs::remove(CONF + "accept_ra");
}

static bool can_be_ifname(const std::string &name) {
    return !name.empty() && name.size() < 16 && name != "." && name != ".." &&
           name.find_first_of("/: \t\n\v\f\r\xa0") == name.npos;
}

// What one WAN adds to the batch that brings all up.
static void start_wan(FuzzedDataProvider &input, int idx, calls &expected,
                      std::map<std::string, std::string> &changes) {
    const std::string wan = "_wan" + std::to_string(idx), end = idx == 0 ? "" : "_1";
    const std::string name = take_hostile(input), address = take_hostile(input).substr(0, 31);
    const std::string mask = take_hostile(input).substr(0, 31);
    const std::string user = take_hostile(input).substr(0, 31), password = take_hostile(input);
    const std::string mode = input.PickValueInArray({"dhcp", "Static", "linkppp", "none"});
    const std::string version = input.PickValueInArray({"ipv4", "IPv6", "ipv4v6", "?"});
    const int mode6 = input.ConsumeIntegralInRange(-1, 6);
    const int mtu = input.ConsumeIntegralInRange(0, 1500);
    memory::items[std::to_string(wired_item(DI_IFA_WIRED_WAN_REAL_IFACE, idx))] = name;
    memory::settings["USR_WAN_IPADDR_V4" + end] = address;
    memory::settings["USR_WAN_SUBMASK_V4" + end] = mask;
    memory::settings["USR_WAN_PPPOE_USERNAME" + end] = user;
    memory::settings["USR_WAN_PPPOE_PASSWORD" + end] = password;
    memory::settings["USR_WAN_IPMODE" + end] = mode;
    memory::settings["USR_WAN_IPVERSION" + end] = version;
    memory::settings["USR_WAN_V6_IPMODE" + end] = std::to_string(mode6);
    memory::settings["USR_WAN_MTU" + end] = std::to_string(mtu);
    if (!can_be_ifname(name))
        return;
    const auto make_executable = [&](const std::string &path) {
        expected.push_back({"chmod", "777", path});
    };
    fs::create_directories(CONF + name);
    const std::string script6 = "/tmp/.udhcpc6_v6" + wan + ".script";
    if (mode == "linkppp") {
        make_executable(script6);
        words pppd = {"pppd"};
        std::istringstream options(
            "unit " + std::to_string(5000 + idx) +
            " noipdefault noauth default-asyncmap hide-password nodetach usepeerdns holdoff 5 "
            "maxfail 0 persist mtu M mru M noaccomp nodeflate nopcomp novj novjccomp user U "
            "lcp-echo-interval 20 lcp-echo-failure 3 +ipv6 ip-up-script /tmp/.ip-up" +
            wan + " ip-down-script /tmp/.ip-down" + wan + " ipv6-up-script /tmp/.ipv6-up" + wan +
            " ipv6-down-script /tmp/.ipv6-down" + wan);
        for (std::string option; options >> option;)
            if (option != "U" || !user.empty())
                pppd.push_back(option == "U"   ? user
                               : option != "M" ? option
                                               : std::to_string(mtu > 0 ? mtu : 1500));
        for (const char *script :
             {"/tmp/.ipv6-up", "/tmp/.ipv6-down", "/tmp/.ip-up", "/tmp/.ip-down"})
            make_executable(script + wan);
        expected.push_back(pppd);
        expected.push_back({"pppoe", "-I", name, "-T", "80", "-U", "-m", "1412"});
        for (const char *folder : {"/tmp/", "/tmp/.uplinkd/"})
            changes[folder + (".pppd" + wan + "_ppp.pid")] = "*";
        return;
    }
    if (version == "ipv4" || version == "ipv4v6") {
        const std::string script = "/tmp/.udhcpc_v4" + wan + ".script";
        if (mode == "Static")
            expected.push_back({"ip", "-4", "address", "add", address + "/" + mask, "dev", name});
        if (mode == "dhcp") {
            make_executable(script);
            expected.push_back(
                {"udhcpc", "-i", name, "-s", script, "-p", "/tmp/.udhcpc_v4" + wan + ".pid"});
        }
    }
    if ((version == "IPv6" || version == "ipv4v6") && (mode6 == 1 || mode6 == 2)) {
        make_executable(script6);
        words client = {
            "udhcpc6", "-i", name, "-s", script6, "-p", "/tmp/.udhcpc6_v6" + wan + ".pid"};
        if (mode6 == 2) {
            client.insert(client.end(), {"-r", "no"});
            changes[CONF + name + "/disable_ipv6"] = "0\n";
        }
        client.insert(client.end(), {"-O", "23"});
        expected.push_back(client);
        changes[CONF + name + "/autoconf"] = mode6 == 2 ? "1\n" : "0\n";
        changes[CONF + name + "/accept_ra"] = "2\n";
    }
}

static void batch(FuzzedDataProvider &input) {
    calls expected = {{"killall", "udhcpc"},
                      {"killall", "udhcpc6"},
                      {"ip6tables", "-t", "nat", "-F", "POSTROUTING"},
                      {"killall", "pppd"}};
    memory::settings = {{"SYS_WIRED_WAN_SUB_PORT_NUM", "1"},
                        {"USR_WIRED_WAN_SW_1", "1"},
                        {"USR_WIRED_WAN_VLAN_ID_1", "10"}};
    memory::items.clear();
    const int mode = input.ConsumeBool() ? 2 : 7;
    std::map<std::string, std::string> changes;
    if (input.ConsumeBool()) {
        start_wan(input, 0, expected, changes);
        start_wan(input, 1, expected, changes);
        uplinkd_process_wired_up(mode);
    } else {
        const std::string name = take_hostile(input);
        memory::items[std::to_string(DI_IFA_WIRED_WAN_REAL_IFACE)] = name;
        if (can_be_ifname(name) && mode == 2)
            expected.push_back({"ip", "-4", "address", "flush", name});
        if (can_be_ifname(name))
            expected.push_back({"ip", "-6", "address", "flush", "scope", "global", "dev", name});
        uplinkd_process_wired_down(mode);
    }
    expect(BATCH, "", {}, expected, changes);
    for (const auto &[path, text] : changes)
        fs::remove(path);
    for (const auto &folder : fs::directory_iterator(CONF))
        fs::remove_all(folder.path());
    memory::take(-1);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool prepared = (prepare(), true);
    FuzzedDataProvider input(data, size);
    constexpr void (*KINDS[])(FuzzedDataProvider &) = {lease, lease6, ppp, batch, batch};
    input.PickValueInArray(KINDS)(input);
    return prepared ? 0 : 1;
}
