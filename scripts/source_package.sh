# Debian's source packages, from the machine's own package servers. Sourced after common.sh.
# shellcheck shell=bash

# fetch_source <folder> <package>[=<version>] [apt option...]: downloads a source package into a new folder. Leaves the
# machine's list of sources unchanged.
fetch_source() {
    local work=$1 file
    shift
    rm -rf "$work"
    mkdir -p "$work/sources" "$work/lists/partial"
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -s "$file" ] && sed -nE 's/^[[:space:]]*deb[[:space:]]/deb-src /p' "$file" >"$work/sources/$(basename "$file" .list).list"
    done
    for file in /etc/apt/sources.list.d/*.sources; do
        [ -s "$file" ] && sed -E 's/^Types:.*/Types: deb-src/' "$file" >"$work/sources/$(basename "$file")"
    done
    local apt=(apt-get -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$work/sources"
        -o "Dir::State::lists=$work/lists" -o "Dir::Cache::srcpkgcache=" -o "Dir::Cache::pkgcache="
        -o APT::Sandbox::User=root)
    quietly "${apt[@]}" update
    (cd "$work" && quietly "${apt[@]}" source --download-only "$@")
}
