# Process 1 of a guest: makes a machine of it, on which the scenario's world is built as everywhere
# else, says how that ended, and switches itself off.
export PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C
modules=/run/lab/unpacked/usr/lib/uml/modules/$(uname -r)

# The machine's own files, below what is written here. Owners may look strange to the guest, so no
# program becomes somebody else by them (and what is used before this is busybox's).
busybox insmod "$modules/kernel/fs/overlayfs/overlay.ko"
busybox mount -t tmpfs tmpfs /mnt
mkdir /mnt/upper /mnt/work /mnt/root
busybox mount -t overlay -o nosuid,lowerdir=/,upperdir=/mnt/upper,workdir=/mnt/work overlay /mnt/root
cd /mnt/root || busybox poweroff -f
busybox mount -t proc proc proc
busybox mount -t sysfs sysfs sys
busybox mount -t devtmpfs devtmpfs dev
mkdir -p dev/pts etc/ppp
busybox mount -t devpts devpts dev/pts
busybox mount -t tmpfs tmpfs etc/ppp
ln -s /proc/self/fd dev/fd
busybox pivot_root . mnt

# What setup_guest unpacked is installed here, in place of what the machine may have, setuid as a rule.
cp -R --remove-destination /run/lab/unpacked/usr/sbin/. /usr/sbin/
cp -R --remove-destination /run/lab/unpacked/usr/lib/x86_64-linux-gnu/. /usr/lib/x86_64-linux-gnu/
mkdir -p /lib/modules /usr/local/lib/lab
cp /usr/sbin/pppd /usr/local/lib/lab/ # the router's /usr/sbin/pppd is lab/router's
ln -s "$modules" /lib/modules/
busybox modprobe -a ipv6 ppp_async 8021q veth ip6table_nat xt_MASQUERADE
ln -s /usr/sbin/ip6tables-legacy /run/lab/tools/ip6tables

# The console is the terminal of a session of its own, should a shell be wanted.
result=0
setsid --wait bash /run/lab/lib/world.sh </dev/tty0 >/dev/tty0 2>&1 || result=$?
echo "RESULT $result"
busybox poweroff -f
