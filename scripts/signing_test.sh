#!/usr/bin/env bash
# Signs a program with certificates made on the spot, with and without a time stamp, and checks what is accepted.
# Usage: signing_test.sh <program>
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
source "$root/scripts/signing.sh"
program=$(realpath "$1")
work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$work"' EXIT
cd "$work"

fail() {
    say "Wrong: $*"
    exit 1
}

# certificate <name> <use> <password>: a certificate of its own authority, for one use, and its container.
certificate() {
    openssl req -x509 -newkey rsa:2048 -nodes -keyout "$1.key" -out "$1.pem" -days 2 -subj "/CN=mendkit $1" \
        -addext "extendedKeyUsage=critical,$2" -addext keyUsage=critical,digitalSignature 2>/dev/null
    openssl pkcs12 -export -inkey "$1.key" -in "$1.pem" -passout "pass:$3" -out "$1.p12"
}

# signs <container> <password> [time stamp service]: signs a copy of the program. Leaves the messages in the file "said".
signs() {
    cp "$program" signed.exe
    sign_program signed.exe "$1" "$2" "${3:-}" 2>said
}

# refuses <reason> <container> <password> [time stamp service]
refuses() {
    local reason=$1
    shift
    ! signs "$@" || fail "signed: $reason"
    cmp -s "$program" signed.exe || fail "changed although not signed: $reason"
    grep -q "could not be signed" said || fail "silent: $reason"
}

# A time stamp service on this machine. Leaves its port in the file "port".
serve_time_stamps() {
    printf '%s\n' '[tsa]' default_tsa=it '[it]' "serial=$work/serial" "default_policy=1.2.3.4" digests=sha256 \
        signer_digest=sha256 "signer_cert=$work/clock.pem" "signer_key=$work/clock.key" >tsa.conf
    echo 01 >serial
    /usr/bin/python3 - >port <<'EOF' &
import http.server, subprocess, sys
class Service(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        open("query", "wb").write(self.rfile.read(int(self.headers["Content-Length"])))
        reply = subprocess.run(["openssl", "ts", "-reply", "-config", "tsa.conf", "-queryfile", "query"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        self.send_response(200)
        self.send_header("Content-Type", "application/timestamp-reply")
        self.end_headers()
        self.wfile.write(reply)
    def log_message(self, *_): pass
server = http.server.HTTPServer(("127.0.0.1", 0), Service)
print(server.server_port, flush=True)
server.serve_forever()
EOF
    until [ -s port ]; do sleep 0.1; done
}

password='a "b" $1 ü'
certificate clock timeStamping x
certificate signer codeSigning "$password"
certificate server serverAuth x
openssl pkcs12 -export -inkey signer.key -in signer.pem -certfile clock.pem -passout "pass:$password" -out with_clock.p12
serve_time_stamps

signs signer.p12 "$password" || fail "not signed: $(cat said)"
osslsigncode verify -CAfile signer.pem -in signed.exe >said || fail "the signature is not valid: $(cat said)"
grep -qi 'message digest algorithm *: SHA256' said || fail "no SHA-256: $(cat said)"
! sign_program signed.exe signer.p12 "$password" '' 2>said || fail "a signed program is taken for the unsigned one"
printf 'x' | dd of=signed.exe bs=1 seek=2000 conv=notrunc status=none
! osslsigncode verify -CAfile signer.pem -in signed.exe >said 2>&1 || fail "the signature does not cover the program"
! /usr/bin/python3 "$root/scripts/signature_only.py" "$program" signed.exe 2>said || fail "a changed byte passes as a signature"

signs with_clock.p12 "$password" "http://127.0.0.1:$(cat port)/" || fail "no time stamp: $(cat said)"
osslsigncode verify -CAfile signer.pem -TSA-CAfile clock.pem -in signed.exe >said || fail "the time stamp is not valid: $(cat said)"
grep -q 'mendkit clock' said || fail "no time stamp: $(cat said)"

refuses 'a time stamp of a service that nobody knows' signer.p12 "$password" "http://127.0.0.1:$(cat port)/"
refuses 'a time stamp service that does not answer' signer.p12 "$password" http://127.0.0.1:9/
refuses 'a wrong password' signer.p12 wrong
refuses 'a certificate for another use' server.p12 x
refuses 'no container' "$program" x
