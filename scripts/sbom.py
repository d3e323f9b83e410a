# Prints the bill of materials (SPDX 2.3) of a linked program. The parts of the compiler's runtime come from the
# linker's map, the versions from the installed packages, the licences from the table below.
# Usage: sbom.py <program> <map> <program's version> <JsonCpp's version> <SHA-256 of its archive> <seconds since 1970>
import datetime
import hashlib
import json
import pathlib
import re
import subprocess
import sys
import urllib.parse

program, link_map, version, jsoncpp_version, jsoncpp_sha256, epoch = sys.argv[1:]

GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"
# Patterns of "<package>:<file>" with the part's name and licence. The first match counts.
RUNTIME = {
    r"g\+\+-mingw-w64-x86-64-posix:libstdc\+\+\.a": ("libstdc++", GCC),
    r"gcc-mingw-w64-x86-64-posix(-runtime)?:.*": ("libgcc", GCC),
    r"mingw-w64-x86-64-dev:lib(win)?pthread\.a": (
        "winpthreads", "MIT AND BSD-3-Clause AND LicenseRef-public-domain"),
    r"mingw-w64-x86-64-dev:.*": ("mingw-w64-crt", "ZPL-2.1 AND LicenseRef-public-domain"),
}


def output(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout


def runtime():
    """Name, licence and Debian package of each linked part. Fails on a part that is not in the table."""
    text = pathlib.Path(link_map).read_text().split("\nDiscarded input sections")[0]
    members = re.findall(r"^(/usr/.*)\(\S+\)$", text, re.MULTILINE)
    objects = re.findall(r"^LOAD (/usr/.*\.o)$", pathlib.Path(link_map).read_text(), re.MULTILINE)
    if not members or not objects:
        sys.exit(f"{link_map} names no linked object")
    parts = set()
    for path in {pathlib.Path(name).resolve() for name in members + objects}:
        package = output("dpkg-query", "-S", path).split(":")[0]
        known = [part for pattern, part in RUNTIME.items() if re.fullmatch(pattern, f"{package}:{path.name}")]
        if not known:
            sys.exit(f"The licence of {path} of {package} is unknown: add it to the table in {__file__}")
        parts.add((*known[0], package))
    return sorted(parts)


def entry(name, its_version, licence, *, debian=None, sha256=None):
    result = {
        "SPDXID": "SPDXRef-" + name.replace("+", "p"),
        "name": name,
        "versionInfo": its_version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
    }
    if debian:
        result["externalRefs"] = [{
            "referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": "pkg:deb/debian/" + debian}]
    if sha256:
        result["checksums"] = [{"algorithm": "SHA256", "checksumValue": sha256}]
    return result


sum_of_program = hashlib.sha256(pathlib.Path(program).read_bytes()).hexdigest()
packages = [
    entry("mendkit", version, "NOASSERTION", sha256=sum_of_program),
    entry("jsoncpp", jsoncpp_version, "MIT OR LicenseRef-public-domain", sha256=jsoncpp_sha256,
          debian=f"libjsoncpp@{jsoncpp_version}?arch=source"),
]
for name, licence, package in runtime():
    package_version = output("dpkg-query", "-W", "-f", "${Version}", package)
    packages.append(entry(name, package_version, licence,
                          debian=f"{urllib.parse.quote(package)}@{urllib.parse.quote(package_version)}"))
relations = [("DOCUMENT", "DESCRIBES", "mendkit")]
relations += [("mendkit", "STATIC_LINK", part["SPDXID"].removeprefix("SPDXRef-")) for part in packages[1:]]
created = datetime.datetime.fromtimestamp(int(epoch), datetime.timezone.utc)
print(json.dumps({
    "spdxVersion": "SPDX-2.3",
    "dataLicense": "CC0-1.0",
    "SPDXID": "SPDXRef-DOCUMENT",
    "name": f"mendkit-{version}",
    "documentNamespace": f"https://spdx.org/spdxdocs/mendkit-{version}-{sum_of_program}",
    "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"), "creators": ["Tool: scripts/package"]},
    "hasExtractedLicensingInfos": [{
        "licenseId": "LicenseRef-public-domain",
        "name": "Public domain",
        "extractedText": "Dedicated to the public domain by its authors. Their statements are in the folder licences."}],
    "packages": packages,
    "relationships": [
        {"spdxElementId": f"SPDXRef-{one}", "relationshipType": kind, "relatedSpdxElement": f"SPDXRef-{other}"}
        for one, kind, other in relations],
}, indent=2))
