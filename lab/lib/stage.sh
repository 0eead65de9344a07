# The first program in a world's new namespaces: gathers in /run/lab what a world is made of, wherever
# the checkout lies, and starts it here, in a guest, or on an arm64 machine.
#
# stage.sh PLACE LIMIT TOOLS NAME=VALUE...: LIMIT is in seconds or empty; the rest is for the world.
# Descriptors: 3 the lab, 4 the programs, 6 what a machine boots, 7 the scenario, 10 a recording to be
# replayed, 11 where to write one.
place=$1 tools=$3 limit=()
[ -z "$2" ] || limit=(timeout -k 5 "$2")
shift 3
declare "$@"

mount -t tmpfs -o mode=755 tmpfs /run
mkdir -p /run/lab/{scenarios,tools}
cp -R /proc/self/fd/3/{lib,router,../docs/schemas,../docs/questions.md,../packaging/systemd/uplinkd.service} /run/lab/
for tool in $tools; do cp "/proc/self/fd/4/$tool" /run/lab/tools/; done
[ ! -e /proc/self/fd/4/fast_sleep.so ] || cp /proc/self/fd/4/fast_sleep.so /run/lab/tools/
cp /proc/self/fd/7 "/run/lab/scenarios/$scenario"
printf '%q\n' "$@" >/run/lab/play
if [ "$replay" ]; then
    cp -R /proc/self/fd/3/{replayer,stand_ins} /run/lab/
    cat <&10 >/run/lab/replay.jsonl
fi

# A machine has a keyboard if the caller has one, and a shell is wanted.
keyboard=null
if [ "$keep" ] && [ -t 0 ]; then
    keyboard=fd:0
elif [ "$keep" ] && [ "$place" != namespaces ]; then
    cat >/run/lab/commands
    exec </dev/null
fi

case $place in
namespaces)
    [ "$record" ] || exec bash /run/lab/lib/world.sh
    result=0
    bash /run/lab/lib/world.sh 11>&- || result=$?
    [ ! -e /run/lab/recording.jsonl ] || cat /run/lab/recording.jsonl >&11
    exit $result
    ;;
guest)
    mkdir /run/lab/unpacked
    mount --bind /proc/self/fd/6/ /run/lab/unpacked
    exec 3<&- 4<&- 6<&- 7<&-
    # Its two processes take turns, which costs half as much on one processor. Its memory is a file in /run.
    processor=$(awk '{ print $39 }' /proc/self/stat)
    HOME=/run TMPDIR=/run exec taskset -c "$processor" "${limit[@]}" /run/lab/unpacked/usr/bin/linux.uml mem=256M \
        root=/dev/root rootfstype=hostfs rootflags=/ ro loglevel=1 \
        con=null "con0=$keyboard,fd:1" init=/bin/bash -- /run/lab/lib/guest_init.sh
    ;;
arm64)
    # What the project adds to the machine's files is a second archive behind the first.
    (cd / && find run/lab | busybox cpio -o -H newc -R root:root 2>/dev/null) |
        cat /proc/self/fd/6/root.cpio - >/run/initrd
    exec "${limit[@]}" qemu-system-aarch64 -machine virt -cpu cortex-a53 -smp 2 -m 512 -nodefaults -no-user-config \
        -display none -no-reboot -kernel /proc/self/fd/6/vmlinuz -initrd /run/initrd \
        -append 'console=ttyAMA0 loglevel=1 panic=-1 rdinit=/bin/bash -- /run/lab/lib/arm64_init.sh' \
        -chardev stdio,id=console,signal=off -serial chardev:console -monitor none
    ;;
esac
