# shellcheck shell=bash
# A minimal Debian in a folder, for scripts/check/packages and scripts/check/release; they source this from the root of the
# tree.

# Ends the script with "skipped" where chroots can't be made.
need_chroots() {
    if [[ $(id -u) -ne 0 ]]; then
        echo "skipped: a chroot needs root"
        exit 77
    fi
}

# make_chroot FILE.tar.gz [PACKAGE...]: the essential packages with apt, and those named. Sources and the names of hosts are
# this machine's.
make_chroot() {
    local file=$1
    shift
    local IFS=,
    local include="$*"
    # shellcheck disable=SC2016 # mmdebstrap's shell expands them
    mmdebstrap --quiet --mode=root --variant=apt ${include:+"--include=$include"} \
        --customize-hook='for node in null:1:3 zero:1:5 full:1:7 random:1:8 urandom:1:9 tty:5:0; do
            name=${node%%:*} major=${node#*:} minor=${major#*:} major=${major%%:*}
            [ -e "$1/dev/$name" ] || mknod -m 666 "$1/dev/$name" c "$major" "$minor"; done' \
        bookworm "$file"
}
