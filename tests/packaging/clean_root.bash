# shellcheck shell=bash
# For sourcing, after common.bash: a root folder with nothing but a few Debian packages in it, copied from this
# machine's own files, so that no network is needed. What a package under test lacks there, it did not ask for.
# shellcheck disable=SC2154 # $scratch is there

# installed_with_dependencies PACKAGE...: these packages and, recursively, what they depend on.
installed_with_dependencies() {
    dpkg-query --show "$@" >/dev/null || fail "not on this machine, see above; scripts/install-deps test installs it"
    # Alternatives and virtual packages are among the names; of these, only what is installed is taken.
    local names
    names=$(apt-cache depends --recurse --installed --no-recommends --no-suggests --no-conflicts --no-breaks \
        --no-replaces --no-enhances "$@" | grep '^[a-z0-9]' | sort -u)
    # shellcheck disable=SC2086 # a name a word
    dpkg-query --show --showformat='${db:Status-Status} ${binary:Package}\n' $names 2>/dev/null |
        sed -n 's/^installed //p' || true
}

# dependencies_of FILE: the names of the packages that a package file depends on.
dependencies_of() {
    dpkg-deb --field "$1" Depends | tr ',' '\n' | sed -E 's/^ *([a-z0-9.+-]+).*/\1/'
}

# add_packages ROOT PACKAGE...: copies them and what they depend on into the root, and enters them in its dpkg
# database. Documents stay behind, and so does what only root may read when that is somebody else.
add_packages() {
    local root=$1 package info
    shift
    mkdir -p "$root"/{dev,proc,tmp,etc,usr/{bin,sbin,lib,lib64},var/{lib/dpkg/{info,updates},log}}
    for info in bin sbin lib lib64; do # the layout of every Debian system since merged-/usr
        if [[ -L /$info && ! -e $root/$info ]]; then ln -s "usr/$info" "$root/$info"; fi
    done
    touch "$root/var/lib/dpkg/status"
    for package in $(installed_with_dependencies "$@"); do
        if grep -qsxF "${package%:*}" "$root/var/lib/dpkg/copied"; then continue; fi
        echo "${package%:*}" >>"$root/var/lib/dpkg/copied"
        dpkg-query --status "$package" >>"$root/var/lib/dpkg/status"
        echo >>"$root/var/lib/dpkg/status"
        for info in /var/lib/dpkg/info/"${package%:*}"{,:*}.list; do
            if [[ -e $info ]]; then
                cp "$info" "$root/var/lib/dpkg/info/"
                cat "$info"
            fi
        done
    done | grep -vE '^/(\.|bin|sbin|lib|lib64)?$|^/usr/share/(doc|man|info|locale|lintian)(/|$)' | sort -u |
        while IFS= read -r file; do
            if [[ -r $file || -L $file ]]; then printf '%s\n' "${file#/}"; fi
        done >"$scratch/files"
    tar -C / -cf - --no-recursion -T "$scratch/files" |
        tar -C "$root" -xf - --keep-directory-symlink --no-same-owner
    cp /var/lib/dpkg/info/format "$root/var/lib/dpkg/info/"
}

# enter_namespace COMMAND...: runs a command where it is root and has the mounts to itself.
enter_namespace() {
    local become_root=()
    if [[ $EUID -ne 0 ]]; then become_root=(--user --map-root-user); fi
    unshare "${become_root[@]}" --mount true ||
        fail "cannot set up a root folder: this needs root, or user namespaces for everybody"
    unshare "${become_root[@]}" --mount "$@"
}

# mount_system ROOT: the devices and /proc, for the processes of this namespace.
mount_system() {
    local device
    for device in null zero urandom; do
        touch "$1/dev/$device"
        mount --bind "/dev/$device" "$1/dev/$device"
    done
    mount --rbind /proc "$1/proc"
}
