# The outer half of a scenario's world, and its process 1: this is the ISP's side, from which the
# scenario is played. Run by lab/lab in fresh namespaces; /run/lab holds a copy of the lab.
set -eEuo pipefail
scenario=$1 timeline=$2
export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C
trap 'exit 130' INT TERM HUP

# What the caller left open is not for the router's processes. (255 is where bash reads this file.)
for fd in "/proc/$$/fd"/*; do
    fd=${fd##*/}
    ((fd <= 2 || fd == 255)) || exec {fd}>&-
done

mkdir /run/isp
ip link set lo up

# The router is a second set of namespaces inside, so that it cannot see, or kill, what the ISP runs.
ln -s "$(command -v busybox)" /run/lab/tools/udhcpc
ln -s "$(command -v busybox)" /run/lab/tools/killall
unshare --net --mount --pid --fork --mount-proc --kill-child --propagation private \
    bash /run/lab/lib/router_init.sh &
unshare_pid=$!
until ROUTER=$(cat "/proc/$unshare_pid/task/$unshare_pid/children") &&
    [ -e "/proc/${ROUTER% }/root/run/ready" ]; do
    [ -e "/proc/$unshare_pid" ] || exit 1
    sleep 0.01
done
ROUTER=${ROUTER% }
ROOT=/proc/$ROUTER/root # the router's files, as seen from here
export ROUTER ROOT

# step TEXT tells a reader of the timeline what happens to the router now, why TEXT the reason of what
# the daemon did.
step() { :; }
why() { :; }

skip() {
    echo "$scenario: skipped: $1"
    exit 77
}

for part in names expect router isp; do
    . "/run/lab/lib/$part.sh"
done
[ -z "$timeline" ] || . /run/lab/lib/timeline.sh
trap 'fail "this command succeeds: $BASH_COMMAND"' ERR
SECONDS=0
. "/run/lab/scenarios/$scenario"
expect_healthy_daemon
[ -z "$timeline" ] || finish_timeline
