#!/usr/bin/python3
"""Reads a table dump that GoBGP wrote with `bgpcomm mrt --json` and checks,
route by route, that bgpcomm sees exactly the community values that GoBGP
holds in its RIB (`gobgp global rib -j`) and that bgpdump reads from the same
file (`bgpdump -m -l`: standard and large communities), and that every list
comes with its text.

Two daemons run on loopback addresses only: A originates routes carrying
every community kind GoBGP can set; B learns them over iBGP, adds route
origin and link bandwidth through its import policy, and writes the
TABLE_DUMP_V2 file (a daemon's dump of its own routes uses add-path records
with peer indexes outside its peer table, so the learned copy is what we
read). GoBGP dumps at most once a minute, appending to the file; the last
dump is cut out and compared.

Exit status: 0 all equal, 1 a difference or a failure, 77 the programs are
missing and cannot be installed (not root).

    /usr/bin/python3 tests/interop/gobgp_interop.py --bgpcomm build/tools/bgpcomm/bgpcomm
    ... --sample-out samples/   (also keeps the dump as the bundled sample)
"""

import argparse
import ctypes
import ipaddress
import json
import os
import random
import shutil
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import time

AS_NUMBER = 65001
DEADLINE_SECONDS = 300  # below the ctest timeout, so that we clean up ourselves

# Routes on daemon A: (address family, prefix, arguments of `gobgp global rib add`).
# Next hops are explicit: GoBGP drops iBGP routes whose next hop is a loopback
# address. "llgr-stale" is left out: GoBGP does not pass such routes on.
IPV4_NH = ["nexthop", "192.0.2.1"]
IPV6_NH = ["nexthop", "2001:db8::1"]
MANY = ",".join("64512:%d" % i for i in range(1, 71))  # 280 octets: extended length
ROUTES = [
    ("ipv4", "10.0.1.0/24", ["community", "65000:100,65000:200"]),
    ("ipv4", "10.0.2.0/24",
     ["community", "no-export,no-advertise,no-export-subconfed,no-peer,blackhole"]),
    ("ipv4", "10.0.3.0/24",
     ["community", "internet,planned-shut,accept-own,no-llgr,route-filter-v4,"
      "route-filter-translated-v4,route-filter-v6,route-filter-translated-v6"]),
    ("ipv4", "10.0.4.0/24", ["community", "0:0,65535:65535,1:1"]),
    ("ipv4", "10.0.5.0/24", ["community", MANY]),
    ("ipv4", "10.0.6.0/24", ["community", "65000:3,65000:1,65000:3,65000:2"]),
    ("ipv4", "10.0.7.0/24",
     ["large-community", "4200000000:1:2,65536:0:4294967295,4294967295:4294967295:4294967295"]),
    ("ipv4", "10.0.8.0/24", ["large-community", "65536:100:200", "community", "65000:8"]),
    ("ipv4", "10.0.9.0/24", ["rt", "65000:100"]),
    ("ipv4", "10.0.10.0/24", ["rt", "1.2:100", "65535.65535:65535"]),  # 4-octet AS in asdot
    ("ipv4", "10.0.11.0/24", ["rt", "192.0.2.1:100"]),
    ("ipv4", "10.0.12.0/24", ["rt", "65000:100", "1.2:100", "192.0.2.1:7"]),
    ("ipv4", "10.0.13.0/24", ["encap", "vxlan"]),
    ("ipv4", "10.0.14.0/24", ["encap", "mpls"]),
    ("ipv4", "10.0.15.0/24", ["color", "100"]),
    ("ipv4", "10.0.16.0/24", ["color", "4294967295"]),
    ("ipv4", "10.0.17.0/24", ["default-gateway"]),
    ("ipv4", "10.0.18.0/24", ["valid"]),
    ("ipv4", "10.0.19.0/24", ["not-found"]),
    ("ipv4", "10.0.20.0/24", ["invalid"]),
    ("ipv4", "10.0.21.0/24", ["router-mac", "00:11:22:33:44:55"]),
    ("ipv4", "10.0.22.0/24",
     ["community", "65000:22,no-export", "large-community", "65536:22:22", "rt", "65000:22",
      "encap", "vxlan", "color", "22", "valid", "router-mac", "00:11:22:33:44:55",
      "default-gateway"]),
    ("ipv4", "10.0.23.0/24", []),
    ("ipv4", "10.20.1.0/24", ["community", "65000:201"]),  # B's policy adds to these
    ("ipv4", "10.20.2.0/24", ["rt", "65000:202"]),
    ("ipv6", "2001:db8:1::/48", ["community", "65000:6", "large-community", "4200000000:6:6"]),
    ("ipv6", "2001:db8:2::/48", ["rt", "65000:6", "color", "6"]),
    ("ipv6", "2001:db8:3::/48", []),
    ("ipv6", "2001:db8:20::/48", ["community", "65000:620"]),
    ("vpnv4", "10.30.0.0/24",
     ["label", "10", "rd", "65000:100", "rt", "65000:200", "community", "65000:30"]),
    ("vpnv4", "10.31.0.0/24",
     ["label", "11", "rd", "192.0.2.1:5", "rt", "1.2:3", "large-community", "65536:3:1"]),
    ("vpnv4", "10.32.0.0/24", ["label", "12", "rd", "1.2:7", "rt", "192.0.2.1:9"]),
    ("vpnv6", "2001:db8:30::/48", ["label", "13", "rd", "65000:100", "rt", "65000:300"]),
]
FAMILIES = ["ipv4", "ipv6", "vpnv4", "vpnv6"]
FAMILY_CONFIG = {"ipv4": "ipv4-unicast", "ipv6": "ipv6-unicast",
                 "vpnv4": "l3vpn-ipv4-unicast", "vpnv6": "l3vpn-ipv6-unicast"}
# Route origin in all three administrator forms, and link bandwidth, added by
# the collector's import policy to the routes of these prefixes.
POLICY_EXT = ["SoO:65001:100", "SoO:192.0.2.1:7", "SoO:1.2:9", "LB:65001:125000"]
POLICY_PREFIXES = [("policy-v4", "10.20.0.0/16", "16..32"),
                   ("policy-v6", "2001:db8:20::/48", "48..128")]
EXT_WORDS = {"rt", "encap", "color", "default-gateway", "valid", "not-found", "invalid",
             "router-mac"}

KINDS = ["communities", "extCommunities", "largeCommunities", "ipv6ExtCommunities"]


class Failure(Exception):
    pass


def log(msg):
    print("interop: " + msg, flush=True)


# --- the programs ------------------------------------------------------------------

def ensure_programs():
    """gobgpd, gobgp and bgpdump, installed from the distribution when missing."""
    wanted = {"gobgpd": "gobgpd", "gobgp": "gobgpd", "bgpdump": "bgpdump"}
    missing = sorted({pkg for prog, pkg in wanted.items() if not shutil.which(prog)})
    if not missing:
        return True
    if os.geteuid() != 0:
        log("missing %s and not root: skipped" % " ".join(missing))
        return False
    log("installing " + " ".join(missing))
    env = dict(os.environ, DEBIAN_FRONTEND="noninteractive")
    install = ["apt-get", "install", "-y", "--no-install-recommends"] + missing
    if subprocess.run(install, env=env, stdout=subprocess.DEVNULL).returncode != 0:
        subprocess.run(["apt-get", "update"], env=env, stdout=subprocess.DEVNULL, check=True)
        subprocess.run(install, env=env, stdout=subprocess.DEVNULL, check=True)
    return True


# --- daemons on loopback -----------------------------------------------------------

def port_free(address, port):
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        try:
            s.bind((address, port))
            return True
        except OSError:
            return False


def pick_endpoints():
    """Two loopback addresses of one random 127.x.y.0/24 and free high ports on
    them, so that runs by several people on one machine do not meet."""
    rng = random.SystemRandom()
    for _ in range(50):
        net = "127.%d.%d." % (rng.randint(1, 254), rng.randint(1, 254))
        a, b = net + "2", net + "3"
        bgp, api = rng.randint(20000, 40000), rng.randint(40001, 60000)
        if all(port_free(h, p) for h in (a, b) for p in (bgp, api)):
            return a, b, bgp, api
    raise Failure("no free loopback ports found")


def die_with_parent():
    # The daemons end when this driver ends, however it ends.
    libc = ctypes.CDLL(None, use_errno=True)
    libc.prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG


class Daemon:
    def __init__(self, name, workdir, address, api_port, config):
        self.name, self.address, self.api_port = name, address, api_port
        self.config_path = os.path.join(workdir, name + ".toml")
        with open(self.config_path, "w") as f:
            f.write(config)
        self.log_path = os.path.join(workdir, name + ".log")
        self.proc = None
        self.workdir = workdir

    def start(self):
        logf = open(self.log_path, "w")
        self.proc = subprocess.Popen(
            ["gobgpd", "-f", self.config_path, "-p", "--pprof-disable",
             "--api-hosts", "%s:%d" % (self.address, self.api_port)],
            cwd=self.workdir, stdout=logf, stderr=subprocess.STDOUT,
            preexec_fn=die_with_parent)
        logf.close()

    def stop(self):
        if self.proc and self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(timeout=5)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()

    def cli(self, *args, check=True):
        cmd = ["gobgp", "-u", self.address, "-p", str(self.api_port)] + list(args)
        r = subprocess.run(cmd, capture_output=True, text=True, timeout=30)
        if check and r.returncode != 0:
            raise Failure("%s: %s\n%s%s" % (self.name, " ".join(args), r.stdout, r.stderr))
        return r

    def log_tail(self):
        try:
            with open(self.log_path) as f:
                return "".join(f.readlines()[-15:])
        except OSError:
            return ""


def wait_for(what, predicate, timeout, deadline):
    end = min(time.monotonic() + timeout, deadline)
    while time.monotonic() < end:
        if predicate():
            return
        time.sleep(0.5)
    raise Failure("timed out waiting for " + what)


def neighbor_config(peer_address, local_address, port, passive):
    families = "".join(
        '  [[neighbors.afi-safis]]\n    [neighbors.afi-safis.config]\n'
        '      afi-safi-name = "%s"\n' % FAMILY_CONFIG[f] for f in FAMILIES)
    return ('[[neighbors]]\n'
            '  [neighbors.config]\n    neighbor-address = "%s"\n    peer-as = %d\n'
            '  [neighbors.transport.config]\n    local-address = "%s"\n'
            '    remote-port = %d\n    passive-mode = %s\n'
            '  [neighbors.timers.config]\n    connect-retry = 1\n'
            % (peer_address, AS_NUMBER, local_address, port, "true" if passive else "false")
            + families)


def global_config(router, port):
    return ('[global.config]\n  as = %d\n  router-id = "%s"\n  port = %d\n'
            '  local-address-list = ["%s"]\n\n' % (AS_NUMBER, router, port, router))


def collector_policy():
    # One prefix set per family: GoBGP refuses a set that mixes them.
    ext = ", ".join('"%s"' % c for c in POLICY_EXT)
    sets, statements = "", ""
    for name, prefix, lengths in POLICY_PREFIXES:
        sets += ('[[defined-sets.prefix-sets]]\n  prefix-set-name = "%s"\n'
                 '  [[defined-sets.prefix-sets.prefix-list]]\n    ip-prefix = "%s"\n'
                 '    masklength-range = "%s"\n\n' % (name, prefix, lengths))
        statements += (
            '  [[policy-definitions.statements]]\n    name = "origin-and-bandwidth-%s"\n'
            '    [policy-definitions.statements.conditions.match-prefix-set]\n'
            '      prefix-set = "%s"\n'
            '    [policy-definitions.statements.actions.bgp-actions.set-ext-community]\n'
            '      options = "add"\n'
            '      [policy-definitions.statements.actions.bgp-actions.set-ext-community'
            '.set-ext-community-method]\n'
            '        communities-list = [%s]\n' % (name, name, ext))
    return (sets + '[[policy-definitions]]\n  name = "add-ext"\n' + statements + '\n'
            '[global.apply-policy.config]\n  import-policy-list = ["add-ext"]\n'
            '  default-import-policy = "accept-route"\n\n')


def kinds_asked(family, prefix, extra):
    """The community kinds a route of ROUTES should carry at the collector."""
    kinds = set()
    for word in extra:
        if word == "community":
            kinds.add("communities")
        elif word == "large-community":
            kinds.add("largeCommunities")
        elif word in EXT_WORDS:
            kinds.add("extCommunities")
    net = ipaddress.ip_network(prefix)
    for _, policy_prefix, _ in POLICY_PREFIXES:
        policy_net = ipaddress.ip_network(policy_prefix)
        if net.version == policy_net.version and net.subnet_of(policy_net):
            kinds.add("extCommunities")
    return kinds


# --- what each program says --------------------------------------------------------

def u16(v):
    return struct.pack(">H", v)


def u32(v):
    return struct.pack(">I", v)


def asn(text):
    """AS number in asplain or asdot."""
    if "." in text:
        high, low = text.split(".")
        return int(high) << 16 | int(low)
    return int(text)


def gobgp_ext_octets(e):
    """The 8 octets of one extended community from GoBGP's JSON form."""
    t, st = e["type"], e.get("subtype", 0)
    head = bytes([t, st])
    value = e.get("value")
    if isinstance(value, str) and ":" in value:
        admin, local = value.rsplit(":", 1)
        form = t & 0x3f
        if form == 0:
            return head + u16(int(admin)) + u32(int(local))
        if form == 1:
            return head + socket.inet_aton(admin) + u16(int(local))
        if form == 2:
            return head + u32(asn(admin)) + u16(int(local))
    if t == 0x03 and st == 0x0c:
        return head + bytes(4) + u16(e["tunnel_type"])
    if t == 0x03 and st == 0x0b:
        return head + u16(e.get("flags", 0)) + u32(e["color"])
    if t == 0x03 and st == 0x0d:
        return head + bytes(6)
    if t == 0x43 and st == 0x00:
        return head + bytes(5) + bytes([value])
    if t == 0x40 and st == 0x04:
        return head + u16(e["asn"]) + struct.pack(">f", e["bandwidth"])
    if t == 0x06 and st == 0x03:
        return head + bytes(int(x, 16) for x in e["mac"].split(":"))
    raise Failure("no octets known for GoBGP's extended community %s" % json.dumps(e))


def rd_text(rd):
    return "%s:%s" % (rd["admin"], rd["assigned"])


def gobgp_view(daemon):
    """prefix -> kind -> sorted unique values, from B's RIB."""
    view = {}
    for family in FAMILIES:
        rib = json.loads(daemon.cli("global", "rib", "-a", family, "-j").stdout or "{}")
        for paths in rib.values():
            for path in paths:
                nlri = path["nlri"]
                prefix = nlri["prefix"]
                if "rd" in nlri:
                    rd = nlri["rd"]
                    admin = rd["admin"]
                    if rd["type"] == 2 and isinstance(admin, str):
                        admin = asn(admin)
                    prefix = "%s:%s:%s" % (admin, rd["assigned"], prefix)
                kinds = {}
                for a in path["attrs"]:
                    if a["type"] == 8:
                        kinds["communities"] = sorted(set(a["communities"]))
                    elif a["type"] == 32:
                        kinds["largeCommunities"] = sorted(
                            {(v["ASN"], v["LocalData1"], v["LocalData2"]) for v in a["value"]})
                    elif a["type"] == 16:
                        kinds["extCommunities"] = sorted(
                            {"0x" + gobgp_ext_octets(e).hex() for e in a["value"]})
                    elif a["type"] == 25:
                        raise Failure("GoBGP has IPv6-address-specific communities now: "
                                      "teach this driver their JSON form")
                view[prefix] = kinds
    return view


def check_text(prefix, kind, entry, count):
    """Each list carries the library's text: one UI form per value for extended
    communities, one string for the list otherwise, never empty; standard and
    large values print as one word each."""
    text = entry.get("text")
    if kind == "extCommunities":
        ok = (isinstance(text, list) and len(text) == count
              and all(isinstance(t, str) and t for t in text))
    elif kind in ("communities", "largeCommunities"):
        ok = isinstance(text, str) and len(text.split()) == count
    else:
        ok = isinstance(text, str) and text != ""
    if not ok:
        raise Failure("%s %s: no proper \"text\" (%s)" % (prefix, kind, json.dumps(text)))


def bgpcomm_view(bgpcomm, dump, peer, peer_as):
    r = subprocess.run([bgpcomm, "mrt", "--json", dump], capture_output=True, text=True)
    if r.returncode != 0:
        raise Failure("bgpcomm mrt --json exited %d:\n%s" % (r.returncode, r.stderr))
    view = {}
    for line in r.stdout.splitlines():
        route = json.loads(line)
        if (route["peer"], route["peerAs"]) != (peer, peer_as):
            raise Failure("route from unexpected peer: " + line)
        if route["prefix"] in view:
            raise Failure("route twice in the dump: " + route["prefix"])
        kinds = {}
        for kind in KINDS:
            if kind in route:
                values = route[kind]["values"]
                if kind == "largeCommunities":
                    values = [tuple(v) for v in values]
                if values != sorted(set(values)):
                    raise Failure("%s %s values not sorted and unique" % (route["prefix"], kind))
                check_text(route["prefix"], kind, route[kind], len(values))
                kinds[kind] = values
        view[route["prefix"]] = kinds
    return view


# Names bgpdump prints instead of numbers.
BGPDUMP_NAMES = {"no-export": 0xFFFFFF01, "no-advertise": 0xFFFFFF02,
                 "no-export-subconfed": 0xFFFFFF03, "local-AS": 0xFFFFFF03}


def bgpdump_view(dump):
    """prefix -> standard and large communities, for the unicast routes."""
    r = subprocess.run(["bgpdump", "-q", "-m", "-l", dump], capture_output=True, text=True)
    if r.returncode != 0:
        raise Failure("bgpdump exited %d:\n%s" % (r.returncode, r.stderr))
    view = {}
    for line in r.stdout.splitlines():
        f = line.split("|")
        if len(f) < 13 or f[0] != "TABLE_DUMP2":
            continue
        kinds = {}
        std = set()
        for token in f[11].split():
            if token in BGPDUMP_NAMES:
                std.add(BGPDUMP_NAMES[token])
            else:
                high, low = token.split(":")
                std.add(int(high) << 16 | int(low))
        if std:
            kinds["communities"] = sorted(std)
        large = {tuple(int(x) for x in t.split(":")) for t in f[12].split()}
        if large:
            kinds["largeCommunities"] = sorted(large)
        view[f[5]] = kinds
    return view


def compare(name, expected, got, kinds):
    """Every route of expected, with exactly its values of the kinds, in got."""
    problems = []
    for prefix in sorted(set(expected) | set(got)):
        if prefix not in got:
            problems.append("%s: %s not in bgpcomm's output" % (name, prefix))
            continue
        if prefix not in expected:
            problems.append("%s: bgpcomm shows %s, %s does not" % (name, prefix, name))
            continue
        for kind in kinds:
            e, g = expected[prefix].get(kind), got[prefix].get(kind)
            if e != g:
                problems.append("%s: %s %s: expected %s, bgpcomm gave %s" % (
                    name, prefix, kind, e, g))
    return problems


# --- the dump file -----------------------------------------------------------------

def last_dump(path):
    """The records from the last PEER_INDEX_TABLE on (GoBGP appends each dump)."""
    with open(path, "rb") as f:
        data = f.read()
    offset, start = 0, None
    while offset + 12 <= len(data):
        _, mtype, subtype, length = struct.unpack(">IHHI", data[offset:offset + 12])
        if offset + 12 + length > len(data):
            break  # a dump being written
        if mtype == 13 and subtype == 1:
            start = offset
        offset += 12 + length
    return data[start:offset] if start is not None else b""


def count_routes(bgpcomm, path):
    r = subprocess.run([bgpcomm, "mrt", path], capture_output=True, text=True)
    return len(r.stdout.splitlines()) if r.returncode == 0 else -1


def collect(args, a, b, workdir, deadline, started):
    """Runs the daemons up to a complete dump; returns GoBGP's view and the dump."""
    for d in (a, b):
        d.start()
    for d in (a, b):
        def api_up(d=d):
            if d.proc.poll() is not None:
                raise Failure("%s exited with status %d" % (d.name, d.proc.returncode))
            return d.cli("global", check=False).returncode == 0
        wait_for(d.name + " API", api_up, 30, deadline)
    wait_for("the iBGP session", lambda: "Establ" in b.cli("neighbor").stdout, 90, deadline)
    for family, prefix, extra in ROUTES:
        nh = IPV6_NH if family in ("ipv6", "vpnv6") else IPV4_NH
        a.cli("global", "rib", "-a", family, "add", prefix, *extra, *nh)

    def learned():
        return sum(len(json.loads(b.cli("global", "rib", "-a", f, "-j").stdout or "{}"))
                   for f in FAMILIES)
    wait_for("the collector to learn %d routes" % len(ROUTES),
             lambda: learned() == len(ROUTES), 60, deadline)
    expected = gobgp_view(b)
    # What GoBGP holds must be what was asked for, or the comparison proves little.
    for family, prefix, extra in ROUTES:
        carried = set(expected.get(prefix, {}))
        if "rd" not in extra and carried != kinds_asked(family, prefix, extra):
            raise Failure("the collector's %s carries %s, not the kinds asked for" % (
                prefix, sorted(carried)))
    log("collector learned all %d routes after %.0f s; waiting for its dump" % (
        len(ROUTES), time.monotonic() - started))

    # A dump that starts after this point holds every route.
    dump_path = os.path.join(workdir, "table.dump")
    size_before = os.path.getsize(dump_path) if os.path.exists(dump_path) else 0
    last = os.path.join(workdir, "last.mrt")
    seen = [None]

    def complete_dump():
        if not os.path.exists(dump_path) or os.path.getsize(dump_path) <= size_before:
            return False
        with open(last, "wb") as f:
            f.write(last_dump(dump_path))
        seen[0] = count_routes(args.bgpcomm, last)
        return seen[0] == len(ROUTES)
    try:
        wait_for("a complete table dump", complete_dump, 150, deadline)
    except Failure:
        raise Failure("no dump with all %d routes (bgpcomm read %s from the last)" % (
            len(ROUTES), seen[0]))
    log("dump complete after %.0f s" % (time.monotonic() - started))
    return expected, last


def run(args):
    deadline = time.monotonic() + DEADLINE_SECONDS
    started = time.monotonic()
    workdir = tempfile.mkdtemp(prefix="bgpcomm-interop-")
    addr_a, addr_b, bgp_port, api_port = pick_endpoints()
    log("daemons on %s and %s, BGP port %d, API port %d, work in %s" % (
        addr_a, addr_b, bgp_port, api_port, workdir))
    a = Daemon("originator", workdir, addr_a, api_port,
               global_config(addr_a, bgp_port) + neighbor_config(addr_b, addr_a, bgp_port, True))
    b = Daemon("collector", workdir, addr_b, api_port,
               global_config(addr_b, bgp_port) + collector_policy()
               + neighbor_config(addr_a, addr_b, bgp_port, False)
               # A relative name: the daemon formats it as a time layout.
               + '[[mrt-dump]]\n  [mrt-dump.config]\n    dump-type = "table"\n'
               '    file-name = "table.dump"\n    dump-interval = 60\n')
    ok = False
    try:
        try:
            expected, last = collect(args, a, b, workdir, deadline, started)
        except Failure:
            for d in (a, b):
                log("%s log:\n%s" % (d.name, d.log_tail()))
            raise
        finally:
            for d in (a, b):
                d.stop()
        got = bgpcomm_view(args.bgpcomm, last, addr_a, AS_NUMBER)
        problems = compare("gobgp", expected, got, KINDS)
        # bgpdump reads the unicast records only, and standard and large communities.
        unicast = {p: got[p] for f, p, _ in ROUTES if f in ("ipv4", "ipv6") and p in got}
        problems += compare("bgpdump", bgpdump_view(last), unicast,
                            ["communities", "largeCommunities"])
        if problems:
            raise Failure("%d differences:\n  %s" % (len(problems), "\n  ".join(problems)))
        log("%d routes: bgpcomm matches GoBGP's RIB (all kinds) and bgpdump "
            "(standard and large) in %.0f s" % (len(got), time.monotonic() - started))
        if args.sample_out:
            target = os.path.join(args.sample_out, "gobgp-table.mrt")
            shutil.copyfile(last, target)
            log("sample written to " + target)
        ok = True
    finally:
        if args.keep or not ok:
            log("files kept in " + workdir)
        else:
            shutil.rmtree(workdir, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--bgpcomm", required=True, help="the bgpcomm program")
    parser.add_argument("--sample-out", help="directory to copy the dump to")
    parser.add_argument("--keep", action="store_true", help="keep the work directory")
    args = parser.parse_args()
    if not ensure_programs():
        return 77
    try:
        run(args)
    except Failure as e:
        log("FAILED: %s" % e)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
