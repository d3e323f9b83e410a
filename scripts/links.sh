# Builds the Wine that has links and runs the tests that need it. scripts/test sources this after common.sh.
# shellcheck shell=bash

links_wine=$root/build/links-wine/wine

# The template of their prefix. The user's folders in it are not links into the home directory. Drive Z: is build/.
ensure_links_prefix() {
    export WINEPREFIX=$root/build/links-prefix
    local link
    ensure_prefix
    find "$WINEPREFIX/drive_c/users" -type l | while read -r link; do
        rm "$link"
        mkdir "$link"
    done
    ln -sfn "$root/build" "$WINEPREFIX/dosdevices/z:"
}

# Runs a command that can write only to build/ and to Wine's folder of sockets. If the program or a test follows a link
# by mistake, it cannot remove anything else.
contained() {
    local sockets
    sockets=/tmp/.wine-$(id -u)
    mkdir -p -m 700 "$sockets" "$root/build/tmp"
    # shellcheck disable=SC2016 # expanded by the inner shell
    unshare --mount bash -euc '
        build=$1 sockets=$2
        shift 2
        cut -d " " -f 5 /proc/self/mountinfo | sort -r | while read -r place; do
            mount -o remount,bind,ro "$(printf %b "$place")"
        done
        for place in "$build" "$sockets"; do
            mount --bind "$place" "$place"
            mount -o remount,bind,rw "$place"
        done
        for place in "$HOME" "${build%/*}" /tmp; do
            if touch "$place/.contained" 2>/dev/null; then
                rm "$place/.contained"
                echo "Files in $place can be written to: the link tests do not run." >&2
                exit 1
            fi
        done
        TMPDIR=$build/tmp exec "$@"' contained "$root/build" "$sockets" "$@"
}

# Builds that Wine when it is missing, and runs the link tests with it. Arguments go to ctest. It is made from the Wine of
# Debian 12; on other releases the tests run in a Debian 12 made by scripts/on-debian.
test_links() {
    if [ "$(. /etc/os-release && echo "${VERSION_ID:-}")" != 12 ]; then
        "$root/scripts/on-debian" 12 ./scripts/test --links "$@"
        return
    fi
    if [ "$(id -u)" != 0 ]; then
        say "The link tests mount everything but build/ read-only, which needs root: run them as root."
        return 1
    fi
    setup_and_build
    locked "$root/test/wine/build.sh"
    export PATH=$links_wine/bin:$PATH
    locked ensure_links_prefix
    contained "$root/scripts/test" --contained-links "$@"
}

# Runs the tests in a new prefix. Called by contained.
run_link_tests() {
    local template=$root/build/links-prefix
    export WINEPREFIX=$root/build/links-test-prefix
    wineserver --kill 2>/dev/null || true
    rm -rf "$WINEPREFIX"
    cp -al "$template" "$WINEPREFIX"
    rm "$WINEPREFIX"/*.reg
    cp -p "$template"/.fresh/*.reg "$WINEPREFIX"
    mkdir "$WINEPREFIX/drive_d"
    ln -s ../drive_d "$WINEPREFIX/dosdevices/d:"
    wineserver --persistent >/dev/null 2>&1 </dev/null || true
    trap 'wineserver --kill >/dev/null 2>&1 || true' EXIT
    start_wine
    cd "$root"
    export MENDKIT_LINKS=1 # without links a test fails instead of being skipped
    ctest --preset "$preset" --test-output-size-passed 65536 --label-regex '^links$' "$@"
}
