# Shared by the scripts of this folder: paths, packages, the build, the Wine prefix.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
source "$root/scripts/source_package.sh"
preset=${MENDKIT_PRESET:-release}
build_dir=$root/build/$preset

# The Wine prefix is private to this checkout; the user's own prefix is not used.
export WINEPREFIX=$root/build/prefix
export WINEDEBUG=${WINEDEBUG:--all}
# Keeps Wine from offering to download the .NET and HTML engines and from adding menu entries to the home directory.
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
unset DISPLAY WAYLAND_DISPLAY
# Wine converts arguments from the character set of the locale. This locale is always installed.
export LC_ALL=C.UTF-8

# "<distribution>-<release>"; the unstable release has no number.
release=$(. /etc/os-release && echo "$ID-${VERSION_ID:-unstable}")
jsoncpp_source=$root/build/deps/jsoncpp

# The tested releases: version of JsonCpp and SHA-256 of its original archive.
known_jsoncpp() {
    case $1 in
    debian-12) echo 1.9.5 f409856e5920c18d0c2fb85276e24ee607d2a09b5e7d5f0a371368903c275da2 ;;
    debian-13) echo 1.9.6 f93b6dd7ce796b13d02c108bc9f79812245a82e577581c4c9aabe57075c90ea2 ;;
    esac
}
build_packages=(ca-certificates cmake g++-mingw-w64-x86-64-posix googletest ninja-build wine wine64)
test_packages=(libmono-system-runtime-serialization4.0-cil mono-mcs openssl osslsigncode python3-jsonschema)
check_packages=(clang-format-19 clang-tidy-19 git)
package_packages=(git python3 zip)

say() { printf '%s\n' "$*" >&2; }

as_root() {
    if [ "$(id -u)" = 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        say "This needs root: $*"
        return 1
    fi
}

# Runs a command and shows its output only when it fails.
quietly() {
    local log
    log=$(mktemp)
    if "$@" >"$log" 2>&1 </dev/null; then
        rm -f "$log"
        return 0
    fi
    say "Failed: $*"
    cat "$log" >&2
    rm -f "$log"
    return 1
}

ensure_packages() {
    local missing=() package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    say "Installing ${missing[*]} ..."
    quietly as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 update
    quietly as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y --no-install-recommends "${missing[@]}"
}

# The fetched source: "<release> <version> <SHA-256 of the original archive>".
jsoncpp_origin() { cat "$jsoncpp_source/.origin" 2>/dev/null || true; }

# Fetches the original archive of Debian's source package of JsonCpp. Leaves the machine's list of sources unchanged.
ensure_jsoncpp() {
    local origin file version sha256 expected
    origin=$(jsoncpp_origin)
    [ "${origin%% *}" = "$release" ] && return 0
    expected=$(known_jsoncpp "$release")
    say "Fetching the source of JsonCpp ${expected%% *} ..."
    [ -n "$expected" ] || say "$release is not tested. Its JsonCpp has no known checksum here; only the archive's signature is checked."
    local work=$root/build/deps/fetch
    # Only the original archive: some mirrors lack the packaging files.
    fetch_source "$work" libjsoncpp --tar-only
    rm -rf "$jsoncpp_source"
    mkdir -p "$jsoncpp_source"
    file=$(echo "$work"/libjsoncpp_*.orig.tar.*)
    version=${file##*/libjsoncpp_}
    version=${version%.orig.tar.*}
    sha256=$(sha256sum "$file")
    sha256=${sha256%% *}
    if [ "${expected:-$version $sha256}" != "$version $sha256" ]; then
        say "The source of JsonCpp is $version with the checksum $sha256, expected: $expected"
        return 1
    fi
    tar -xf "$file" -C "$jsoncpp_source" --strip-components 1
    rm -rf "$work"
    echo "$release $version $sha256" >"$jsoncpp_source/.origin"
}

# Names and versions of the packages.
versions_of() { dpkg-query -W -f '${Package} ${Version}\n' "$@"; }

build() {
    local started=$SECONDS toolchain
    # Starts a new build folder after an upgrade: objects of different compilers or library versions must not be linked.
    toolchain=$(versions_of binutils-mingw-w64-x86-64 cmake g++-mingw-w64-x86-64-posix googletest mingw-w64-x86-64-dev && jsoncpp_origin)
    if [ -e "$build_dir/.toolchain" ] && [ "$(cat "$build_dir/.toolchain")" != "$toolchain" ]; then
        rm -rf "$build_dir"
    fi
    if [ ! -e "$build_dir/build.ninja" ]; then
        say "Building ($preset) ..."
        (cd "$root" && quietly cmake --preset "$preset")
    fi
    echo "$toolchain" >"$build_dir/.toolchain"
    quietly cmake --build "$build_dir" "$@"
    [ $((SECONDS - started)) -lt 5 ] || say "Built in $((SECONDS - started)) s."
}

ensure_prefix() {
    local wine_versions
    wine_versions=$(versions_of wine wine64)
    [ "$(cat "$WINEPREFIX/.complete" 2>/dev/null)" = "$wine_versions" ] && return 0
    say "Preparing a private Wine prefix ..."
    rm -rf "$WINEPREFIX"
    mkdir -p "$root/build"
    quietly wineboot --init
    # Without a debugger a crash ends the process at once and adds nothing to captured output.
    quietly wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d '' /f
    wineserver --wait
    mkdir "$WINEPREFIX/.fresh"
    cp -p "$WINEPREFIX"/*.reg "$WINEPREFIX/.fresh"
    echo "$wine_versions" >"$WINEPREFIX/.complete"
}

# Makes a new prefix for each run of the tests. Its files are hard links to those of the private prefix. Wine writes the
# registry in place, so copies of its initial state are used. @param $1  its name, by default test-prefix
make_test_prefix() {
    local template=$root/build/prefix
    WINEPREFIX=$root/build/${1:-test-prefix}
    wineserver --kill 2>/dev/null || true
    rm -rf "$WINEPREFIX"
    cp -al "$template" "$WINEPREFIX"
    rm "$WINEPREFIX"/*.reg
    cp -p "$template"/.fresh/*.reg "$WINEPREFIX"
    rm -rf "$WINEPREFIX/drive_c/Program Files/Kelvo Panel" # logs are written in place; the tests install the stand-in again
    mkdir -p "$WINEPREFIX/drive_d"
    ln -sfn ../drive_d "$WINEPREFIX/dosdevices/d:" # a second volume
}

# Wine's background processes inherit the standard streams. They are started without any, because a caller that reads
# this script's standard error to its end would wait for them.
start_wine() { wine cmd /c exit >/dev/null 2>&1 </dev/null; }

# Keeps one wineserver for the whole script; otherwise every program starts one.
# @param $1  the name of a second machine, a prefix in which tests may run at the same time; by default none
start_test_wine() {
    local name
    trap 'stop_test_wine' EXIT
    for name in "$@" test-prefix; do
        make_test_prefix "$name"
        wineserver --persistent >/dev/null 2>&1 </dev/null || true
        start_wine
    done
}

stop_test_wine() {
    local prefix
    for prefix in "$root"/build/test-prefix*; do
        WINEPREFIX=$prefix wineserver --kill >/dev/null 2>&1 || true
    done
}

# Installs the stand-in for the panel into the private prefix.
ensure_panel() {
    local program
    for program in "$build_dir"/devpanel/*.exe; do
        if [ "$program" -nt "$WINEPREFIX/.panel" ]; then
            quietly wine "$build_dir/devpanel/devpanel.exe" install
            touch "$WINEPREFIX/.panel"
        fi
    done
}

# Runs a function under the lock of this checkout. The processes that the function starts do not inherit the lock.
locked() {
    (
        flock 9
        "$@" 9>&-
    ) 9>"$root/build/.lock"
}

setup() {
    ensure_packages "${build_packages[@]}"
    ensure_jsoncpp
    build "$@"
    ensure_prefix
}

setup_and_build() {
    mkdir -p "$root/build"
    if [ "$(stat -c %u "$root/build")" != "$(id -u)" ]; then
        say "$root/build belongs to another user. Wine uses only a prefix of its own user: run this as the owner, or remove the folder."
        return 1
    fi
    locked setup "$@" >&2
}
