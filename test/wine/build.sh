#!/usr/bin/env bash
# Builds the Wine of the link tests in build/links-wine: a copy of the installed Wine of Debian 12 in which ntdll,
# kernelbase and the server come from Debian's source with the patch beside this script. Does nothing when this patch
# was built before. About six minutes on two cores; needs 2.5 GB while it works, 0.9 GB afterwards.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/../../scripts/common.sh"
source "$root/scripts/source_package.sh"

version=8.0~repack-4
packages=(autoconf autotools-dev bison dpkg-dev flex g++-mingw-w64-x86-64-posix gcc libc6-dev make patch perl python3 wine wine64 xz-utils)
work=$root/build/links-wine
built=$work/wine
source_tree=$work/source/wine
system=/usr/lib/x86_64-linux-gnu/wine

# The parts built here work with this version of Wine only. Links are stored in extended attributes.
check_machine() {
    local installed
    installed=$(dpkg-query -W -f '${Version}' libwine)
    if [ "$installed" != "$version" ]; then
        say "The Wine of the link tests is made from Wine $version of Debian 12; installed is $installed."
        return 1
    fi
    if ! python3 -c 'import os, sys; os.setxattr(sys.argv[1], "user.mendkit", b"x")' "$work" 2>/dev/null; then
        say "The file system of $work has no user extended attributes, in which the Wine of the link tests keeps links."
        return 1
    fi
}

# Prepares the patched source. Files that Debian's build generates and that the modules built here do not need are left
# empty.
prepare_source() {
    fetch_source "$work/source" "wine=$version"
    cd "$work/source"
    dpkg-source -x "wine_$version.dsc" wine
    cd "$source_tree"
    patch -p1 <"$here/wine-8.0-reparse-points.patch"
    autoconf -o configure configure.ac
    autoheader
    ./debian/scripts/generate server/trace.generated make_requests
    ./debian/scripts/generate server/request.generated make_requests
    ./tools/make_requests
    cp /usr/share/misc/config.{sub,guess} tools/
    grep -P '^\tln -sf \.\./\.\.' debian/rules | sh
    mkdir -p dlls/dwrite/shapers dlls/gdi32/uniscribe
    touch include/wine/{vulkan,vulkan_driver,wgl,wgl_driver}.h dlls/dwrite/{bracket,direction,linebreak,mirror,scripts}.c \
        dlls/dwrite/shapers/arabic_table.c dlls/gdi32/uniscribe/{bracket,direction,indicsyllable,linebreak,mirror,shaping}.c \
        dlls/opengl32/{thunks,unix_thunks}.c dlls/winevulkan/{loader_thunks,vulkan_thunks}.c dlls/win32u/vertical.c \
        dlls/wineps.drv/vertical.c
    cp -n /usr/share/wine/nls/*.nls nls/
    sed -e ':a;/\\$/{N;s/\\\n//;ba}' nls/Makefile.in | grep -E 'nls|SRCS' | sed 's/.*=//' | tr ' \t' '\n\n' | grep . |
        (cd nls && xargs touch -a)
    # The registry script of kernelbase is generated too. It is taken from the installed library.
    python3 "$here/registry_script.py" "$system/x86_64-windows/kernelbase.dll" >dlls/kernelbase/kernelbase.rgs
    mkdir -p "$work/source/build/dlls/ntdll/unix"
    printf '#define wine_build "wine-8.0 (links)"\n' | tee dlls/ntdll/unix/version.h >"$work/source/build/dlls/ntdll/unix/version.h"
}

# Configured so that the modules find each other at the same relative paths as in Debian's packages.
compile() {
    local without=(x freetype alsa capi coreaudio cups dbus fontconfig gphoto gnutls gssapi gstreamer inotify krb5 netapi
        opencl opengl osmesa oss pcap pulse sane sdl udev unwind usb v4l2 vulkan xcomposite)
    cd "$work/source/build"
    "$source_tree/configure" -q --enable-win64 --disable-tests "${without[@]/#/--without-}" \
        --libdir="$built/lib/x86_64-linux-gnu/wine" --bindir="$built/lib/wine" --datarootdir="$built/share/wine" \
        --includedir="$built/include" CFLAGS="-O2 -g -Wno-array-bounds -Wno-unused-function -Wno-format"
    make -s -j"$(nproc)" dlls/ntdll/ntdll.so server/wineserver dlls/kernelbase/x86_64-windows/kernelbase.dll \
        dlls/ntdll/x86_64-windows/ntdll.dll
}

starter() {
    printf '#!/bin/sh -e\n%s\n' "$2" >"$built/bin/$1"
    chmod +x "$built/bin/$1"
}

copy_installed() {
    local libraries=$built/lib/x86_64-linux-gnu/wine
    rm -rf "$built"
    mkdir -p "$libraries" "$built/lib/wine" "$built/bin" "$built/share"
    cp -r "$system/x86_64-unix" "$system/x86_64-windows" "$libraries"
    cp -r /usr/share/wine "$built/share"
    cp /usr/lib/wine/wine64 /usr/lib/wine/wineapploader "$built/lib/wine"
    cd "$work/source/build"
    install -m755 dlls/ntdll/ntdll.so "$libraries/x86_64-unix/"
    install -m644 dlls/ntdll/x86_64-windows/ntdll.dll dlls/kernelbase/x86_64-windows/kernelbase.dll "$libraries/x86_64-windows/"
    install -m755 server/wineserver "$built/lib/wine/wineserver64"
    starter wineserver "exec '$built/lib/wine/wineserver64' -p0 \"\$@\""
    starter wine "export WINELOADER='$built/lib/wine/wine64' WINESERVER='$built/bin/wineserver'
exec '$built/lib/wine/wine64' \"\$@\""
    starter wineboot "exec '$built/bin/wine' wineboot.exe \"\$@\""
    cp "$built/bin/wineserver" "$built/lib/wine/wineserver"
}

if [ $# -gt 0 ]; then
    "$1"
    exit
fi
stamp=$(cat "$here"/* | sha256sum)
[ "$(cat "$work/.complete" 2>/dev/null)" != "$stamp" ] || exit 0
ensure_packages "${packages[@]}"
mkdir -p "$work"
check_machine
rm -f "$work/.complete"
say "Building the Wine of the link tests, once (about six minutes) ..."
for step in prepare_source compile copy_installed; do
    quietly nice -n 10 "$here/build.sh" "$step" # a separate process: "set -e" has no effect in a function that "if" calls
done
rm -rf "$work/source"
printf '%s\n' "$stamp" >"$work/.complete"
