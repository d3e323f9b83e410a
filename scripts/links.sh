# The Wine that has links, and the tests that need it. Sourced after common.sh by scripts/test.
# shellcheck shell=bash

links_wine=$root/build/links-wine/wine

# The template of their prefix. Its folders of the user are no links into the home directory, its drive Z: is build/.
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

# Runs a command where nothing but build/ and Wine's own folder of sockets can be written to: a removal that follows a
# link to the wrong place, in the program or in a test, harms nothing outside.
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

# Builds that Wine when it is missing, and runs the link tests with it; arguments go to ctest. It is made from Debian
# 12's Wine: other releases run the tests in a Debian 12 of their own.
test_links() {
    if [ "$(. /etc/os-release && echo "${VERSION_ID:-}")" != 12 ]; then
        "$root/scripts/on-debian" 12 ./scripts/test --links "$@"
        return
    fi
    if [ "$(id -u)" != 0 ]; then
        say "The link tests run where they can write to build/ alone, which takes mounts: run them as root."
        return 1
    fi
    setup_and_build
    locked "$root/test/wine/build.sh"
    export PATH=$links_wine/bin:$PATH
    locked ensure_links_prefix
    contained "$root/scripts/test" --contained-links "$@"
}

# What runs contained: the tests, in a new prefix.
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
    export MENDKIT_LINKS=1 # a test that finds no links fails, instead of being skipped
    ctest --preset "$preset" --test-output-size-passed 65536 --label-regex '^links$' "$@"
}
