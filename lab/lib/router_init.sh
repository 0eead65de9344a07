# Process 1 of the router: gives it folders of its own, says that it is ready, then reaps orphans.
set -euo pipefail
mkdir -p /run/lab/etc/{uplinkd,ppp,ebscript}

# The tools go over /usr/sbin, since clients clear PATH for the scripts that they run. Read-only, as
# is /etc but for the folders that the daemon and its clients write to.
stand_ins=
[ ! -e /run/lab/stand_ins ] || stand_ins=/run/lab/stand_ins:
mount -t overlay -o lowerdir="$stand_ins"/run/lab/tools:/run/lab/router:/usr/sbin overlay /usr/sbin
mount -t overlay -o lowerdir=/run/lab/etc:/etc overlay /etc
for folder in /tmp /run /var/log /var/lib /etc/uplinkd /etc/ppp /etc/ebscript; do
    mount -t tmpfs tmpfs "$folder"
done
chmod 1777 /tmp
mkdir /var/lib/dhcp

# The generated scripts are written for the router's shell, which is busybox's.
mount --bind "$(command -v busybox)" /bin/sh

ip link set lo up
: >/run/ready
while :; do sleep 60; done
