"""What the shipped files are made of, as a CycloneDX document: the program, and what the compiler links into it."""

import datetime
import subprocess
import uuid

# Name, Debian package of this machine that brings it, licences (SPDX), what it is. Linked statically into every shipped file.
LINKED = (
    ("libgcc", "gcc-mingw-w64-x86-64-posix-runtime", "GPL-3.0-or-later WITH GCC-exception-3.1", "GCC's runtime"),
    ("libstdc++", "g++-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1", "GCC's C++ standard library"),
    ("mingw-w64-crt", "mingw-w64-x86-64-dev", "ZPL-2.1", "start-up code and C runtime extensions; parts are public domain or BSD"),
    ("winpthreads", "mingw-w64-x86-64-dev", "MIT AND BSD-3-Clause", "threads for the C++ standard library"),
)
# Runs on the user's machine too, but only while the program is installed or removed.
INSTALLER = (("nsis", "nsis-common", "Zlib AND CPL-1.0", "the installers and the uninstaller"),)


def debian_version(package):
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True, check=True).stdout


def component(name, package, licence, description, scope):
    release = debian_version(package)
    return {"type": "library", "bom-ref": f"{name}@{release}", "name": name, "version": release, "scope": scope,
            "description": description, "licenses": [{"expression": licence}],
            "purl": f"pkg:deb/debian/{package}@{release}?distro=bookworm".replace("+", "%2B")}


def cyclone_dx(version, date, hashes):
    """`hashes` maps the shipped files to their SHA-256."""
    parts = [*(component(*row, "required") for row in LINKED), *(component(*row, "optional") for row in INSTALLER)]
    files = [{"type": "file", "bom-ref": name, "name": name, "version": version,
              "hashes": [{"alg": "SHA-256", "content": value}]} for name, value in sorted(hashes.items())]
    linked = [part["bom-ref"] for part in parts if part["scope"] == "required"]
    program = f"NeltoStackWatcher@{version}"
    return {
        "bomFormat": "CycloneDX", "specVersion": "1.5", "version": 1,
        "serialNumber": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, program + ''.join(sorted(hashes.values())))}",
        "metadata": {
            "timestamp": datetime.datetime.fromtimestamp(date, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "component": {"type": "application", "bom-ref": program, "name": "NeltoStackWatcher", "version": version,
                          "publisher": "Nelto", "components": files},
        },
        "components": parts,
        "dependencies": [{"ref": program, "dependsOn": [part["bom-ref"] for part in parts]},
                         *({"ref": name, "dependsOn": linked} for name in sorted(hashes))],
    }
