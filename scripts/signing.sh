# Signs the program for Windows. scripts/package sources this after common.sh.
# shellcheck shell=bash

signing_packages=(ca-certificates openssl osslsigncode python3)

# Signs a program in place. The signature is verified before the file is replaced: the digest, the chains of the
# certificate and of the time stamp, and that nothing else of the file has changed. A chain ends in a certificate of the
# container or in one that this machine trusts.
# @param $1  the program
# @param $2  PKCS#12 container of the certificate, its private key and the certificates above it
# @param $3  the container's password
# @param $4  URL of a time stamp service (RFC 3161); empty: none
sign_program() {
    local work failed=0
    work=$(mktemp -d)
    sign_into "$work" "$@" >"$work/log" 2>&1 || failed=1
    if [ $failed = 0 ]; then
        cat "$work/signed" >"$1"
    else
        say "$1 could not be signed with $2:"
        cat "$work/log" >&2
    fi
    rm -rf "$work"
    return $failed
}

# The password goes through a pipe, so neither the list of processes nor a file shows it.
sign_into() {
    local work=$1 program=$2 container=$3 password=$4 stamped=() failed=0
    [ -z "$5" ] || stamped=(-ts "$5")
    printf '%s' "$password" | osslsigncode sign -pkcs12 "$container" -readpass /dev/stdin -h sha256 -n mendkit \
        "${stamped[@]}" -in "$program" -out "$work/signed" || return 1
    # -legacy: old containers are encrypted by ciphers that OpenSSL 3 keeps apart.
    printf '%s' "$password" | openssl pkcs12 -legacy -in "$container" -passin stdin -nokeys -out "$work/trusted" || return 1
    cat /etc/ssl/certs/ca-certificates.crt >>"$work/trusted"
    osslsigncode verify -CAfile "$work/trusted" -TSA-CAfile "$work/trusted" -in "$work/signed" >"$work/verified" || failed=1
    cat "$work/verified"
    # A time stamp that is not trusted is only mentioned.
    [ -z "$5" ] || grep -q 'Timestamp Server Signature verification: ok' "$work/verified" || failed=1
    [ $failed = 0 ] || return 1
    /usr/bin/python3 "$root/scripts/signature_only.py" "$program" "$work/signed"
}
