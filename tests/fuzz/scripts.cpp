// The generated scripts and whole batches, run by busybox's shell with stubs for every tool. The
// stubs say which commands were run, with exactly which arguments; nothing else may have happened.
//
// The scripts' texts are fixed, and expand some variables without quotes. So a value from the
// network is split at blanks, and its wildcards are matched with files: it can become several
// arguments, of its own choice, of the command that it belongs to, and no more; never a command, a
// redirection or an argument of another one. That is the model here. The clients leave less: udhcpc
// and udhcpc6 write addresses from numbers, and pppd takes its names from the kernel.
#include <glob.h>
#include <map>
#include <sstream>

#include "memory_platform.h"
#include "provision/clients/dhcpv4.h"
#include "provision/clients/dhcpv6.h"
#include "provision/clients/ppp.h"
#include "provision/wired_wan.h"
#include "provision/wireless_wan.h"
#include "shell.h"
#include "wan/items.h"

namespace fs = std::filesystem;
using words = std::vector<std::string>;
using texts = std::map<std::string, std::string>;

static const std::string STUBS = "/run/stubs", WORK = "/run/work", SCRIPT = "/tmp/script";
static const std::string BATCH = "/tmp/.tmp_uplinkd_script", CONF = "/proc/sys/net/ipv6/conf/";

// As functions, so that a run takes milliseconds, and so that kill is not the shell's own.
static constexpr const char *STUB = R"(
stub() {
    local name=$1 pty
    shift
    if [ "$name" = pppd ]; then pty=$2; shift 2; fi
    printf '%s\0' $# "$name" "$@" >&9
    case $name,$3 in
    pppd,*) (eval "$pty") ;; # pppd has a shell for that, too
    ip6tables,-C) return "$rule" ;;
    cat,*) printf '%s\n' "$pid" ;;
    awk,*2*) printf '%s\n' "$listed" ;;
    awk,*) printf '%s\n' "$gateway" ;;
    addr_format,*) printf '%s\n' "$form" ;;
    devinfo,*) printf '%s\n' "$item" ;;
    esac
}
)";

static bool prepare() {
    for (const char *name : {"a", "b c", "-d", "\\*"})
        put_file(WORK + "/" + name, "");
    std::string stubs = STUB;
    for (const std::string name :
         {"addr_format", "awk", "cat", "chmod", "devinfo", "grep", "ip", "ip6tables", "kill",
          "killall", "pppd", "pppoe", "rm", "sleep", "sockmsg_send", "touch", "udhcpc", "udhcpc6"})
        stubs += name + "() { stub " + name + " \"$@\"; }\n";
    put_file(STUBS, stubs);
    put_file("/run/ip", "#!/bin/busybox sh\n. " + STUBS + "\nstub /sbin/ip \"$@\"\n");
    chmod("/run/ip", 0755);
    if (mount("tmpfs", CONF.c_str(), "tmpfs", 0, "") == 0 &&
        mount("/run/ip", "/sbin/ip", nullptr, MS_BIND, nullptr) == 0)
        return true;
    printf("SKIPPED: /sbin/ip or %s cannot be replaced here\n", CONF.c_str());
    exit(EXIT_SKIPPED);
}

// The arguments that VALUE becomes where it stands without quotes.
static words fields(std::string value) {
    words found;
    std::replace(value.begin(), value.end(), '\t', ' ');
    std::replace(value.begin(), value.end(), '\n', ' ');
    std::istringstream stream(value);
    const fs::path from = fs::current_path();
    fs::current_path(WORK);
    for (std::string word; std::getline(stream, word, ' ');) {
        glob_t matches{};
        if (word.find_first_of("*?[") != word.npos && glob(word.c_str(), 0, nullptr, &matches) == 0)
            found.insert(found.end(), matches.gl_pathv, matches.gl_pathv + matches.gl_pathc);
        else if (!word.empty())
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

// Calls, one a line, as the shell would read them: a word with a $ is the value of that name, which
// goes up to the next slash, and is one argument only in quotes.
static std::vector<words> calls_of(const std::string &lines, texts &values) {
    std::vector<words> calls;
    std::istringstream stream(lines);
    for (std::string line, word; std::getline(stream, line);) {
        words &call = calls.emplace_back();
        for (std::istringstream split(line); split >> word;) {
            const bool quoted = word[0] == '"', expanded = word.find('$') != word.npos;
            std::erase(word, '"');
            for (size_t at = 0; (at = word.find('$', at)) != word.npos;) {
                const size_t end = std::min(word.find('/', at), word.size());
                const std::string value = values[word.substr(at + 1, end - at - 1)];
                word.replace(at, end - at, value);
                at += value.size();
            }
            const words made = expanded && !quoted ? fields(word) : words{word};
            call.insert(call.end(), made.begin(), made.end());
        }
    }
    return calls;
}

static std::vector<words> run(const std::string &script, const std::string &event, texts values) {
    const std::string command = ". " + STUBS + "; . \"$0\"";
    words variables = {"PATH=/none"};
    for (const auto &[name, value] : values)
        variables.push_back(name + "=" + value);
    std::vector<const char *> environment;
    for (const std::string &variable : variables)
        environment.push_back(variable.c_str());
    std::istringstream records(
        output_of(9, {command.c_str(), script.c_str(), event.c_str()}, environment, WORK.c_str()));
    std::vector<words> calls;
    for (std::string count; std::getline(records, count, '\0');)
        for (std::string &word : calls.emplace_back(std::stoul(count) + 1))
            std::getline(records, word, '\0');
    return calls;
}

// Every file that a script could make in the sandbox.
static texts files() {
    texts all;
    for (const char *folder : {"/tmp", "/etc", "/run", "/var/log", CONF.c_str()})
        for (const auto &file : fs::recursive_directory_iterator(folder))
            all[file.path()] = file.is_symlink()        ? fs::read_symlink(file.path()).string()
                               : file.is_regular_file() ? file_text(file.path())
                                                        : "";
    return all;
}

// Runs the script and compares what it called. Those of a pipeline or in the background come in any
// order. CHANGES are the files that it may have changed, with their new texts, # for any number.
static void expect(const std::string &script, const std::string &event, const texts &values,
                   std::vector<words> expected, const texts &changes = {}) {
    const auto is_ordered = [](const words &call) {
        return std::string("awk cat grep pppd pppoe udhcpc udhcpc6").find(call[0]) == call[0].npos;
    };
    texts left = files();
    std::vector<words> made = run(script, event, values);
    for (std::vector<words> *all : {&made, &expected})
        std::sort(std::stable_partition(all->begin(), all->end(), is_ordered), all->end());
    for (size_t i = 0; i < std::max(made.size(), expected.size()); i++) {
        const words none, &call = i < made.size() ? made[i] : none;
        words both = call;
        both.push_back("instead of");
        if (i < expected.size())
            both.insert(both.end(), expected[i].begin(), expected[i].end());
        if (i >= expected.size() || call != expected[i])
            for (const std::string &word : both)
                fprintf(stderr, "%s%s", shown(word).c_str(), &word == &both.back() ? "\n" : "");
    }
    DEMAND(made == expected, file_text(script));
    texts now = files();
    for (const auto &[path, text] : changes) {
        const bool number = now[path].find_first_not_of("0123456789\n") == std::string::npos;
        left[path] = text == "#" && number ? now[path] : text;
    }
    for (const auto &[path, text] : now)
        DEMAND(left.contains(path) && left[path] == text, path, text);
    DEMAND(left.size() == now.size());
}

static std::string take_hostile(FuzzedDataProvider &input) {
    std::string text;
    for (int pieces = take_number(input, 0, 3); pieces > 0; pieces--)
        text += input.ConsumeBool()
                    ? take_text(input, 12)
                    : input.PickValueInArray(
                          {"10.0.0.2", "2001:db8::1", " ",          "\n",         "\t",
                           "*",        "?",           "[a-b]",      "$(touch x)", "`touch x`",
                           ";touch x", "~",           "&touch x|b", ">x",         "-h",
                           "\"",       "'",           "\\",         "(",          "!",
                           "=",        "#",           "${IFS}",     "$((1/0))",   "/",
                           "x=1 ",     "{a,b}",       "\x81",       "\x88"});
    return text;
}

static std::string take_ifname(FuzzedDataProvider &input) {
    std::string name = input.ConsumeBool() ? take_hostile(input).substr(0, 15)
                                           : input.PickValueInArray({"eth1", "a$b", ".."});
    std::erase(name, '/'); // as in the kernel
    return name;
}

static constexpr wan_di_set SET = wired_record(0);
static constexpr const char *REPORT = "sockmsg_send -d 24 -m 21252\n";

static void lease(FuzzedDataProvider &input) {
    uplinkd_dhcpcv4_write_script(SCRIPT.c_str(), "fuzz", &SET, 24, 21252);
    texts in;
    for (const char *name : {"interface", "ip", "mask", "subnet", "broadcast", "router", "dns"})
        in[name] = take_hostile(input);
    const std::string event = input.PickValueInArray({"bound", "renew", "deconfig", "leasefail"});
    texts known = in;
    std::string calls;
    if (event != "leasefail")
        calls = "/sbin/ip -4 addr flush dev $interface\n";
    if (event == "deconfig")
        calls += "/sbin/ip link set dev $interface up\n";
    if (event == "bound" || event == "renew") {
        known["plus"] = in["broadcast"].empty() ? "+" : in["broadcast"];
        known["first"] = field(in["router"], 0);
        known["dns1"] = field(in["dns"], 0);
        known["dns2"] = field(in["dns"], 1);
        calls += "/sbin/ip addr add dev $interface local $ip/$mask broadcast $plus\n";
        calls += in["subnet"].empty() ? "" : "devinfo 201103 $subnet\n";
        calls += in["ip"].empty() ? "" : "devinfo 201102 $ip\n";
        calls += fields(in["router"]).empty() ? "" : "devinfo 201104 $first\n";
        calls += fields(in["dns"]).empty() ? "" : "devinfo 201106 $dns1\n";
        calls += fields(in["dns"]).size() < 2 ? "" : "devinfo 201107 $dns2\n";
        calls += REPORT;
    }
    expect(SCRIPT, event, in, calls_of(calls, known));
}

static void lease6(FuzzedDataProvider &input) {
    const bool stateful = input.ConsumeBool();
    const auto write =
        stateful ? uplinkd_dhcpcv6_write_stateful_script : uplinkd_dhcpcv6_write_stateless_script;
    write(SCRIPT.c_str(), "fuzz", &SET, 1, 7, 24, 21252);
    texts in;
    for (const char *name : {"interface", "ipv6", "dns"})
        in[name] = take_hostile(input);
    const std::string listed = input.PickValueInArray({"", "2001:db8::2/64", "a::1/64\nb::1/64"});
    in["listed"] = listed;
    in["gateway"] = input.PickValueInArray({"", "fe800000000000000000000000000001"});
    in["form"] = input.PickValueInArray({"", "2001:db8::1"});
    in["item"] = input.PickValueInArray({"", "2001:db8::1", "?"});
    in["rule"] = std::to_string(take_number(input, 0, 2));
    const std::string event = input.PickValueInArray({"bound", "renew", "deconfig", "none"});
    texts known = in;
    known["address"] = stateful ? in["ipv6"] : listed.substr(0, listed.rfind('/'));
    known["iface"] = field(in["interface"], 0);
    known["dns1"] = field(in["dns"], 0);
    known["dns2"] = field(in["dns"], 1);
    known["pattern"] = "\\b" + in["interface"] + "$";
    known["print2"] = "{print $2}", known["print5"] = "{print $5}", known["blank"] = " ";
    const std::string rule = " POSTROUTING -o $interface -j MASQUERADE\n";
    std::string calls;
    if (event == "deconfig")
        calls = (stateful ? "ip -6 address flush scope global dev $interface\n" : "") +
                ("ip6tables -t nat -D" + rule);
    const bool ready = !in["gateway"].empty() && !(stateful ? "-" : listed).empty();
    for (int i = 0; i < (ready ? 1 : 2) && (event == "bound" || event == "renew"); i++) {
        if (!stateful)
            calls += "ip -6 address show $iface scope global\n"
                     "grep inet6\nawk -F \"$blank\" \"$print2\"\n";
        calls += "cat /proc/net/ipv6_route\ngrep \\b00450003\\b\ngrep \"$pattern\"\n"
                 "awk -F \"$blank\" \"$print5\"\n";
        if (!ready) {
            calls += "sleep 7\n";
            continue;
        }
        calls += "addr_format -6 -s perfer -d compact -a $address\n"
                 "addr_format -6 -s no_separator -d compact -a $gateway\n"
                 "addr_format -6 -s perfer -d compact -a $dns1\n"
                 "addr_format -6 -s perfer -d compact -a $dns2\n"
                 "devinfo 201108\n";
        if (in["form"].empty() || in["form"] == in["item"]) {
            calls += "devinfo 201128\ndevinfo 201109\ndevinfo 201110\n";
            continue;
        }
        calls += stateful ? "ip -6 address add $ipv6/64 dev $interface\n" : "";
        for (const char *id : {"201108", "201128", "201109", "201110"})
            calls += std::string("devinfo ") + id + " $form\n";
        calls += "ip6tables -t nat -C" + rule;
        calls += (in["rule"] == "1" ? "ip6tables -t nat -A" + rule : "") + REPORT;
    }
    expect(SCRIPT, event, in, calls_of(calls, known));
}

static void ppp(FuzzedDataProvider &input) {
    texts in, changes;
    for (const char *name : {"DNS1", "DNS2", "IPLOCAL", "IPREMOTE", "pid"})
        in[name] = take_hostile(input);
    const std::string link = in["IFNAME"] = take_ifname(input), name = take_ifname(input);
    texts known = in;
    known["name"] = name;
    std::string calls;
    switch (take_number(input, 0, 3)) {
    case 0:
        uplinkd_ppp_write_ip_up_script(SCRIPT.c_str(), &SET, 24, 21252, "fuzz");
        calls = "devinfo 201106 $DNS1\n";
        calls += in["DNS1"] == in["DNS2"] ? "" : "devinfo 201107 $DNS2\n";
        calls += "devinfo 201102 $IPLOCAL\ndevinfo 201104 $IPREMOTE\ndevinfo 201111 $IFNAME\n"
                 "devinfo 201103 255.255.255.255\n";
        calls += REPORT;
        break;
    case 1:
        uplinkd_ppp_write_ip_down_script(SCRIPT.c_str(), &SET, name.c_str(), 24, 21252, "fuzz");
        calls = "devinfo 201111 $name\ndevinfo 201106 \"\"\ndevinfo 201107 \"\"\n"
                "devinfo 201102 \"\"\ndevinfo 201104 \"\"\ndevinfo 201103 \"\"\n";
        calls += REPORT;
        break;
    case 2:
        uplinkd_ppp_write_ipv6_up_script(SCRIPT.c_str(), "/tmp/lease", "/tmp/pid", "fuzz");
        calls = "udhcpc6 -i $IFNAME -s /tmp/lease -p /tmp/pid -r no -O 23\n";
        fs::create_directories(CONF + "eth1");
        if (link != ".." && fs::is_directory(CONF + link))
            changes[fs::path(CONF + link + "/accept_ra").lexically_normal()] = "2\n";
        break;
    case 3:
        uplinkd_ppp_write_ipv6_down_script(SCRIPT.c_str(), &SET, name.c_str(), "/tmp/pid", 24,
                                           21252, "fuzz");
        calls = "cat /tmp/pid\n";
        calls += in["pid"].find_first_not_of('\n') == link.npos ? "" : "kill $pid\n";
        calls += "rm /tmp/pid\ndevinfo 201111 $name\n"
                 "devinfo 201108 \"\"\ndevinfo 201109 \"\"\ndevinfo 201110 \"\"\n";
        calls += REPORT;
    }
    expect(SCRIPT, "", in, calls_of(calls, known), changes);
    fs::remove_all(CONF + "eth1");
    fs::remove(CONF + "accept_ra");
}

static bool can_be_ifname(const std::string &name) {
    return !name.empty() && name.size() < 16 && name != "." && name != ".." &&
           name.find_first_of("/: \t\n\v\f\r\xa0") == name.npos;
}

// What one WAN adds to the batch that brings all up.
static std::vector<words> start_wan(FuzzedDataProvider &input, int idx, int item, texts &changes) {
    const std::string wan = "_wan" + std::to_string(idx), end = idx == 0 ? "" : "_1";
    const auto set = [&](const char *key, const std::string &value) {
        return memory::settings[key + end] = value;
    };
    texts in = {{"name", input.ConsumeBool() ? take_ifname(input) : take_hostile(input)}};
    in["ip"] = set("USR_WAN_IPADDR_V4", take_hostile(input).substr(0, 31));
    in["mask"] = set("USR_WAN_SUBMASK_V4", take_hostile(input).substr(0, 31));
    in["user"] = set("USR_WAN_PPPOE_USERNAME", take_hostile(input).substr(0, 31));
    set("USR_WAN_PPPOE_PASSWORD", take_hostile(input));
    const std::string mode =
        set("USR_WAN_IPMODE", input.PickValueInArray({"dhcp", "Static", "linkppp", "none"}));
    const std::string version =
        set("USR_WAN_IPVERSION", input.PickValueInArray({"ipv4", "IPv6", "ipv4v6", "?"}));
    const std::string mode6 = set("USR_WAN_V6_IPMODE", std::to_string(take_number(input, 0, 3)));
    std::string mtu = set("USR_WAN_MTU", std::to_string(take_number(input, -1, 1500))), calls;
    const std::string conf = CONF + in["name"], script6 = "/tmp/.udhcpc6_v6" + wan + ".script";
    memory::items[std::to_string(item)] = in["name"];
    if (!can_be_ifname(in["name"]))
        return {};
    fs::create_directories(conf);
    if (mode == "linkppp" && item != DI_IFA_WLAN24_WAN_REAL_IFACE) {
        mtu = std::stoi(mtu) > 0 ? mtu : "1500";
        calls = "chmod 777 " + script6 + "\n";
        for (const char *script : {"ipv6-up", "ipv6-down", "ip-up", "ip-down"})
            calls += std::string("chmod 777 /tmp/.") + script + wan + "\n";
        calls += "pppd unit " + std::to_string(5000 + idx) +
                 " noipdefault noauth default-asyncmap hide-password nodetach usepeerdns holdoff 5 "
                 "maxfail 0 persist mtu " +
                 mtu + " mru " + mtu + " noaccomp nodeflate nopcomp novj novjccomp user " +
                 (in["user"].empty() ? "" : "\"$user\"") +
                 " lcp-echo-interval 20 lcp-echo-failure 3 +ipv6 ip-up-script /tmp/.ip-up" + wan +
                 " ip-down-script /tmp/.ip-down" + wan + " ipv6-up-script /tmp/.ipv6-up" + wan +
                 " ipv6-down-script /tmp/.ipv6-down" + wan +
                 "\npppoe -I \"$name\" -T 80 -U -m 1412\n";
        changes["/tmp/.uplinkd/.pppd" + wan + "_ppp.pid"] = "#";
        return calls_of(calls, in);
    }
    const std::string script = "/tmp/.udhcpc_v4" + wan + ".script";
    const bool v4 = version.find("v4") != version.npos;
    if (v4 && mode == "Static")
        calls = "ip -4 address add \"$ip/$mask\" dev \"$name\"\n";
    if (v4 && mode == "dhcp")
        calls = "chmod 777 " + script + "\nudhcpc -i \"$name\" -s " + script +
                " -p /tmp/.udhcpc_v4" + wan + ".pid\n";
    if (version.ends_with('6') && (mode6 == "1" || mode6 == "2")) {
        calls += "chmod 777 " + script6 + "\nudhcpc6 -i \"$name\" -s " + script6 +
                 " -p /tmp/.udhcpc6_v6" + wan + ".pid" + (mode6 == "2" ? " -r no" : "") +
                 " -O 23\n";
        if (mode6 == "2")
            changes[conf + "/disable_ipv6"] = "0\n";
        changes[conf + "/autoconf"] = mode6 == "2" ? "1\n" : "0\n";
        changes[conf + "/accept_ra"] = "2\n";
    }
    return calls_of(calls, in);
}

static void whole_batch(FuzzedDataProvider &input) {
    texts in, changes;
    memory::settings = {{"SYS_WIRED_WAN_SUB_PORT_NUM", "1"},
                        {"USR_WIRED_WAN_SW_1", "1"},
                        {"USR_WIRED_WAN_VLAN_ID_1", "10"}};
    memory::items.clear();
    const int mode = input.PickValueInArray({2, 7, 3});
    const bool up = take_number(input, 0, 3) > 0, wireless = mode == 3;
    const int item = wireless ? DI_IFA_WLAN24_WAN_REAL_IFACE : DI_IFA_WIRED_WAN_REAL_IFACE;
    std::vector<words> expected =
        calls_of("killall udhcpc\nkillall udhcpc6\nip6tables -t nat -F POSTROUTING\n", in);
    if (!wireless)
        expected.push_back({"killall", "pppd"});
    for (int idx = 0; up && idx < (wireless ? 1 : 2); idx++)
        for (const words &call : start_wan(input, idx, wired_item(item, idx), changes))
            expected.push_back(call);
    if (!up) {
        const std::string name = memory::items[std::to_string(item)] = take_hostile(input);
        if (can_be_ifname(name) && mode != 7)
            expected.push_back({"ip", "-4", "address", "flush", name});
        if (can_be_ifname(name))
            expected.push_back({"ip", "-6", "address", "flush", "scope", "global", "dev", name});
    }
    const auto work = wireless ? (up ? uplinkd_process_wlan_up : uplinkd_process_wlan_down)
                               : (up ? uplinkd_process_wired_up : uplinkd_process_wired_down);
    work(mode);
    expect(BATCH, "", {}, expected, changes);
    for (const auto &[path, text] : changes)
        fs::remove(path);
    for (const auto &folder : fs::directory_iterator(CONF))
        fs::remove_all(folder.path());
    memory::take(-1);
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool prepared = prepare();
    FuzzedDataProvider input(data, size);
    constexpr void (*KINDS[])(FuzzedDataProvider &) = {lease, lease6, ppp, whole_batch,
                                                       whole_batch};
    input.PickValueInArray(KINDS)(input);
    return prepared ? 0 : 1;
}
