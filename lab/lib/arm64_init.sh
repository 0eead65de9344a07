# Process 1 of the machine that lab/arm64 starts: makes it a small Debian, plays the scenarios in it as
# anywhere else, says how that ended, and switches it off.
export PATH=/usr/sbin:/usr/bin HOME=/root LC_ALL=C
mount -t proc proc /proc
mount -t sysfs sysfs /sys
mount -t devtmpfs devtmpfs /dev
ln -s /proc/self/fd /dev/fd
mount -t tmpfs tmpfs /run
printf '%s\n' root:x:0:0::/root:/bin/sh nobody:x:65534:65534::/:/bin/false >/etc/passwd
printf '%s\n' root:x:0: nogroup:x:65534: >/etc/group
busybox modprobe -a overlay veth ip6table_nat xt_MASQUERADE

cd /project || busybox poweroff -f
echo "This is $(uname -srm), and uplinkd a program for it"
read -ra scenarios <wanted
[ ${#scenarios[@]} -gt 1 ] || export LAB_TIMELINE=1
PATIENCE=60 lab/lab --bin bin "${scenarios[@]}" </dev/null 2>&1 | cat
echo "RESULT ${PIPESTATUS[0]}"
busybox poweroff -f
