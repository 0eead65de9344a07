# Whether a world can be made on this machine; if not, what is missing, and what helps.

cannot() { # WHAT REMEDY
    printf 'lab: skipped: %s: %s\n' "$1" "$2" >&2
    return 1
}

# diagnose PROGRAM...: fails where one of them, or the right to make a world, is missing.
diagnose() {
    local program said
    for program in "$@"; do
        command -v "$program" >/dev/null || cannot "no $program here" "scripts/setup installs it" || return
    done
    [ -e /proc/self/uid_map ] || cannot "no /proc here" "mount it: mount -t proc proc /proc" || return
    said=$(unshare --user --map-root-user true 2>&1) ||
        cannot "no user namespaces here ($said)" "$(how_to_get_user_namespaces)" || return
    said=$(unshare --user --map-root-user --mount --pid --fork --mount-proc true 2>&1) ||
        cannot "no mount of a /proc here ($said)" "$(how_to_mount_proc)" || return
    said=$("${new_world[@]}" true 2>&1) || cannot "no world here ($said)" "try it outside of this container"
}

how_to_get_user_namespaces() {
    if sysctl_is user/max_user_namespaces 0; then
        echo "as root: sysctl -w user.max_user_namespaces=10000"
    elif sysctl_is kernel/unprivileged_userns_clone 0; then
        echo "as root: sysctl -w kernel.unprivileged_userns_clone=1"
    elif sysctl_is kernel/apparmor_restrict_unprivileged_userns 1; then
        echo "as root: sysctl -w kernel.apparmor_restrict_unprivileged_userns=0"
    else
        echo "in a chroot there are none: enter that root by pivot_root or systemd-nspawn; a container" \
            "needs a seccomp profile that lets it unshare (--security-opt seccomp=unconfined)"
    fi
}

sysctl_is() { [ "$(cat "/proc/sys/$1" 2>/dev/null)" = "$2" ]; }

# The kernel lets nobody see by a new /proc what is hidden in the old one.
how_to_mount_proc() {
    echo "unmount what hides parts of it:$(awk '$5 ~ "^/proc/" { printf " %s", $5 }' /proc/self/mountinfo)," \
        "or start the container with a whole /proc (podman: --security-opt unmask=ALL," \
        "docker: --security-opt systempaths=unconfined)"
}
