"""End-to-end tests through pywbem, a CIM-XML client written elsewhere.

Each test module gets its own tarnd on a free loopback port with a temporary
state directory; the MOF files a module names in SCHEMA are loaded with
tarn-mof before the server starts. CTest passes the build's directories in
TARN_BIN_DIR and TARN_LIB_DIR. Without ../shared/clients/pywbem beside the
checkout every test is skipped, with the reason printed.
"""
import base64
import contextlib
import http.client
import os
import pathlib
import random
import shutil
import socket
import subprocess
import sys
import tempfile

import pytest

SOURCE_DIR = pathlib.Path(__file__).resolve().parents[2]
PYWBEM_DIR = pathlib.Path(os.environ.get(
    "TARN_PYWBEM_DIR", SOURCE_DIR.parent / "shared" / "clients" / "pywbem"))
BIN_DIR = pathlib.Path(os.environ.get("TARN_BIN_DIR", SOURCE_DIR / "build" / "bin"))
LIB_DIR = pathlib.Path(os.environ.get("TARN_LIB_DIR", SOURCE_DIR / "build" / "lib"))
SCHEMA_DIR = pathlib.Path(__file__).resolve().parent / "schema"

if (PYWBEM_DIR / "pywbem").is_dir():
    sys.path.insert(0, str(PYWBEM_DIR))
    import pywbem  # noqa: E402
else:
    pywbem = None


def pytest_collection_modifyitems(config, items):
    if pywbem is None:
        skip = pytest.mark.skip(
            reason=f"pywbem client not found at {PYWBEM_DIR} (the ../shared checkout is absent)")
        for item in items:
            item.add_marker(skip)


def free_port():
    """A port free now, below the kernel's ephemeral range: one from that range
    may become the local end of another test's client connection once let go."""
    with open("/proc/sys/net/ipv4/ip_local_port_range") as f:
        low = min(max(int(f.read().split()[0]), 2048), 65535)
    for _ in range(200):
        port = random.randrange(1024, low)
        with socket.socket() as s:
            try:
                s.bind(("", port))
            except OSError:
                continue
        return port
    raise RuntimeError("no free port")


class Tarnd:
    """A running tarnd and what a test needs to talk to it."""

    def __init__(self, state_dir, conf="", schema=(), modules=(), adapters=("libcimxmlpa.so",)):
        self.state_dir = pathlib.Path(state_dir)
        self.adapters = adapters
        self.port = free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        lines = ["[Log]", "Level = 3", "TraceFile = trace.log"]
        if modules:
            lines += ["[Providers]", "Modules = " + ",".join(str(LIB_DIR / m) for m in modules)]
        (self.state_dir / "tarn.conf").write_text("\n".join(lines) + "\n" + conf + "\n")
        for mof, namespace in schema:
            self.mof(SCHEMA_DIR / mof, namespace)
        self.process = None
        self.start()

    def mof(self, path, namespace="root/cimv2"):
        result = subprocess.run(
            [str(BIN_DIR / "tarn-mof"), "--state-dir", str(self.state_dir), "-n", namespace,
             str(path)], capture_output=True, text=True, timeout=120)
        assert result.returncode == 0, result.stderr + result.stdout

    def start(self):
        self.process = subprocess.Popen(
            [str(BIN_DIR / "tarnd"), "--state-dir", str(self.state_dir),
             "--http-port", str(self.port), "--https-port", "0"] +
            [arg for a in self.adapters for arg in ("--adapter", str(LIB_DIR / a))],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        line = self.process.stdout.readline()
        assert "running;" in line, line + self.trace()
        self.password = (self.state_dir / "admin.password").read_text().strip()

    def stop(self):
        """Stops tarnd; fails when it does not exit cleanly or had already
        died (a sanitizer's report is in its output, shown then)."""
        if not self.process:
            return
        died = self.process.poll() is not None
        if not died:
            self.process.terminate()
        try:
            output, _ = self.process.communicate(timeout=20)
            assert not died and self.process.returncode == 0, (
                f"tarnd {'had died' if died else 'stopped'} with exit status "
                f"{self.process.returncode}; its output:\n{output[-20000:]}\n"
                f"trace:\n{self.trace()}")
        finally:
            if self.process.poll() is None:
                self.process.kill()
            self.process = None

    def restart(self):
        self.stop()
        self.start()

    def trace(self):
        path = self.state_dir / "trace.log"
        return path.read_text(errors="replace")[-20000:] if path.exists() else ""

    def connection(self, user="admin", password=None, namespace="root/cimv2", **kwargs):
        return pywbem.WBEMConnection(self.url, (user, password or self.password),
                                     default_namespace=namespace, timeout=60, **kwargs)

    def request(self, method, path, body=None, headers=(), user="admin", password=None):
        """A raw HTTP request (without credentials when user is None): the
        response and its body, decoded."""
        c = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        headers = dict(headers)
        if user:
            token = base64.b64encode(f"{user}:{password or self.password}".encode()).decode()
            headers["Authorization"] = "Basic " + token
        c.request(method, path, body, headers)
        r = c.getresponse()
        data = r.read().decode(errors="replace")
        c.close()
        return r, data

    def add_user(self, name, role):
        """Adds a user with a random password and returns the password."""
        result = subprocess.run(
            [str(BIN_DIR / "tarn-user"), "--state-dir", str(self.state_dir), "add", name,
             "--role", role, "--random"], capture_output=True, text=True, timeout=60)
        assert result.returncode == 0, result.stderr
        return result.stdout.strip().splitlines()[-1]


@pytest.fixture(scope="module")
def tarnd(request):
    """A tarnd for the module: its SCHEMA (pairs of file in schema/ and
    namespace), MODULES (provider libraries in the build's lib directory),
    ADAPTERS (protocol adapter libraries there; the CIM-XML one by default)
    and CONF (more tarn.conf lines) module attributes shape it."""
    state = tempfile.mkdtemp(prefix="tarn-pywbem-")
    server = Tarnd(state, conf=getattr(request.module, "CONF", ""),
                   schema=getattr(request.module, "SCHEMA", ()),
                   modules=getattr(request.module, "MODULES", ()),
                   adapters=getattr(request.module, "ADAPTERS", ("libcimxmlpa.so",)))
    yield server
    server.stop()
    shutil.rmtree(state, ignore_errors=True)


@pytest.fixture(scope="module")
def conn(tarnd):
    return tarnd.connection()


@contextlib.contextmanager
def cim_error(status):
    """pytest.raises for a CIMError of this status, e.g. cim_error(pywbem.CIM_ERR_NOT_FOUND)."""
    with pytest.raises(pywbem.CIMError) as info:
        yield info
    assert info.value.status_code == status, f"expected CIM status {status}, got {info.value}"
