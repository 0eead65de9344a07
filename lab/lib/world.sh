# The outer half of a scenario's world, and its first process: this is the ISP's side, from which the
# scenario is played. Run in fresh namespaces or on a machine of its own, with /run/lab filled.
set -eEuo pipefail
. /run/lab/play
trap 'exit 130' INT TERM HUP

# What the caller left open is not for the router's processes. (255 is where bash reads this file.)
for fd in "/proc/$$/fd"/*; do
    fd=${fd##*/}
    ((fd <= 2 || fd == 255)) || exec {fd}>&-
done
for name in $(compgen -e); do export -n "${name?}"; done
export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C TZ=UTC
exec 8<&0 </dev/null # the caller's keyboard
exec 9<> <(:)        # nothing ever comes

# pause SECONDS: starts no program, which takes long in a guest.
pause() { read -rt "$1" -u 9 || :; }

mkdir /run/isp
ip link set lo up

# The router is a second set of namespaces inside, so that it cannot see, or kill, what the ISP runs.
ln -s "$(command -v busybox)" /run/lab/tools/udhcpc
ln -s "$(command -v busybox)" /run/lab/tools/killall
unshare --net --mount --pid --fork --mount-proc --kill-child --propagation private \
    bash /run/lab/lib/router_init.sh 8<&- 9<&- &
unshare_pid=$!
ROUTER=
until [ "$ROUTER" ] && [ -e "/proc/$ROUTER/root/run/ready" ]; do
    [ -e "/proc/$unshare_pid" ] || exit 1
    pause "$LOOK_EVERY"
    read -r ROUTER _ <"/proc/$unshare_pid/task/$unshare_pid/children" || :
done
ROOT=/proc/$ROUTER/root # the router's files, as seen from here

# For a reader of the timeline. step TEXT: what happens to the router now; decode: its mode in words;
# verdict TEXT FROM TO: how long it was from one event to another, patterns both, as %s ms in TEXT.
step() { :; }
decode() { :; }
verdict() { :; }

skip() {
    echo "$scenario: skipped: $1"
    exit 77
}

for part in names expect router isp sessions; do
    . "/run/lab/lib/$part.sh"
done
[ -z "$timeline" ] || . /run/lab/lib/timeline.sh
trap command_failed ERR
trap end_failed USR1
SECONDS=0
. "/run/lab/scenarios/$scenario"
expect_healthy_daemon
stop_recorder
[ -z "$timeline" ] || finish_timeline
