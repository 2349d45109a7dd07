"""GET /metrics: the Prometheus exposition of tarnd, read with and without
credentials, checked line by line against the text format, and its counters
followed across real CIM operations."""
import re

import pytest

from conftest import cim_error, pywbem

NS = "root/cimv2"
SCHEMA = [("types.mof", NS)]

NAME = r"[a-zA-Z_:][a-zA-Z0-9_:]*"
LABEL = r'[a-zA-Z_][a-zA-Z0-9_]*="(?:[^"\\\n]|\\[\\"n])*"'
SAMPLE = re.compile(rf"^({NAME})(?:\{{((?:{LABEL})(?:,{LABEL})*)\}})? (\S+)$")
VALUE = re.compile(r"^(?:[+-]?(?:\d+\.?\d*(?:[eE][+-]?\d+)?|\.\d+)|[+-]Inf|NaN)$")
SUFFIXES = {"histogram": ("_bucket", "_sum", "_count"), "counter": ("",), "gauge": ("",)}


def parse_strict(text):
    """The samples of an exposition, {(name, labels): value}, after checking
    what Prometheus requires of the text format: HELP then TYPE before a
    family's samples, each family once, samples named after their family,
    no series twice, cumulative buckets ending in +Inf equal to _count."""
    assert text.endswith("\n")
    families, samples, current = {}, {}, None
    lines = text.split("\n")[:-1]
    for i, line in enumerate(lines):
        if line.startswith("# HELP "):
            name = line.split(" ", 3)[2]
            assert re.fullmatch(NAME, name) and name not in families, line
            assert lines[i + 1].startswith(f"# TYPE {name} "), line
            continue
        if line.startswith("# TYPE "):
            _, _, name, kind = line.split(" ")
            assert kind in SUFFIXES, line
            families[name] = current = (name, kind)
            continue
        m = SAMPLE.match(line)
        assert m and current, f"not a sample line: {line!r}"
        name, labels, value = m.groups()
        assert VALUE.match(value), line
        suffix = name[len(current[0]):]
        assert name.startswith(current[0]) and suffix in SUFFIXES[current[1]], line
        key = (name, labels or "")
        assert key not in samples, f"series twice: {line}"
        samples[key] = float(value)
    for (name, labels), value in samples.items():
        if name.endswith("_count") and (name[:-6], "histogram") in families.values():
            buckets = [(float(re.search(r'le="([^"]+)"', l).group(1)), v)
                       for (n, l), v in samples.items()
                       if n == name[:-6] + "_bucket" and re.sub(r',?le="[^"]+"', "", l) == labels]
            buckets.sort()
            assert buckets[-1] == (float("inf"), value), (name, labels)
            assert all(a[1] <= b[1] for a, b in zip(buckets, buckets[1:])), (name, labels)
    return families, samples


def get_metrics(tarnd, user="admin", password=None):
    return tarnd.request("GET", "/metrics", user=user, password=password)


def value(samples, name, **labels):
    text = ",".join(f'{k}="{v}"' for k, v in labels.items())
    return samples.get((name, text), 0.0)


def test_metrics_need_credentials_and_readers_may_read(tarnd):
    r, _ = get_metrics(tarnd, user=None)
    assert r.status == 401 and r.getheader("WWW-Authenticate", "").startswith("Basic")
    r, _ = get_metrics(tarnd, password="wrong")
    assert r.status == 401
    reader = tarnd.add_user("watcher", "reader")
    r, body = get_metrics(tarnd, user="watcher", password=reader)
    assert r.status == 200, body
    assert r.getheader("Content-Type").startswith("text/plain; version=0.0.4")


def test_exposition_is_valid_and_parses_with_the_prometheus_client(tarnd, conn):
    conn.EnumerateInstanceNames("CIM_Namespace", namespace="interop")
    _, body = get_metrics(tarnd)
    families, samples = parse_strict(body)
    for name in ("tarn_cim_operations_total", "tarn_cim_operation_duration_seconds",
                 "tarn_http_connections_open", "tarn_http_connections_busy",
                 "tarn_workers_busy", "tarn_enumeration_contexts_open",
                 "tarn_repository_size_bytes", "tarn_repository_instances",
                 "process_resident_memory_bytes", "process_cpu_seconds_total"):
        assert name in families, name
    assert value(samples, "process_resident_memory_bytes") > 1e6
    assert value(samples, "tarn_repository_size_bytes") > 0
    # The request being answered holds a connection and a worker.
    assert value(samples, "tarn_http_connections_busy") >= 1
    assert value(samples, "tarn_workers_busy", pool="request") >= 1
    try:
        from prometheus_client.parser import text_string_to_metric_families
    except ImportError:
        pytest.skip("python3-prometheus-client is not installed (scripts/bootstrap installs it)")
    parsed = {f.name: f for f in text_string_to_metric_families(body)}
    assert parsed["tarn_cim_operations"].type == "counter"
    assert parsed["tarn_cim_operation_duration_seconds"].type == "histogram"


def test_counters_follow_requests(tarnd, conn):
    _, before = parse_strict(get_metrics(tarnd)[1])
    for _ in range(3):
        with cim_error(pywbem.CIM_ERR_NOT_FOUND):
            conn.GetInstance(pywbem.CIMInstanceName("TEST_Part", {"Id": "nowhere"}, namespace=NS))
    with cim_error(pywbem.CIM_ERR_INVALID_QUERY):
        conn.ExecQuery("WQL", "SELECT FROM", NS)
    ctx = conn.OpenEnumerateInstances("CIM_Namespace", namespace="interop", MaxObjectCount=0)
    _, during = parse_strict(get_metrics(tarnd)[1])
    assert conn.PullInstancesWithPath(ctx.context, MaxObjectCount=100).eos
    _, after = parse_strict(get_metrics(tarnd)[1])

    def moved(name, **labels):
        return value(after, name, **labels) - value(before, name, **labels)

    assert moved("tarn_cim_operations_total", operation="GetInstance",
                 status="CIM_ERR_NOT_FOUND") == 3
    assert moved("tarn_cim_operations_total", operation="ExecQuery",
                 status="CIM_ERR_INVALID_QUERY") == 1
    assert moved("tarn_cim_operations_total", operation="OpenEnumerateInstances",
                 status="CIM_SUCCESS") == 1
    assert moved("tarn_cim_operation_duration_seconds_count", operation="GetInstance") == 3
    assert moved("tarn_cim_operation_duration_seconds_bucket", operation="GetInstance",
                 le="+Inf") == 3
    assert value(during, "tarn_enumeration_contexts_open") == \
        value(before, "tarn_enumeration_contexts_open") + 1
    assert value(after, "tarn_enumeration_contexts_open") == \
        value(before, "tarn_enumeration_contexts_open")
    assert value(after, "process_cpu_seconds_total") >= value(before, "process_cpu_seconds_total")


def test_instance_counts_follow_the_repository(tarnd, conn):
    _, before = parse_strict(get_metrics(tarnd)[1])
    path = conn.CreateInstance(pywbem.CIMInstance("TEST_Part", properties={"Id": "metrics"}),
                               namespace=NS)
    _, after = parse_strict(get_metrics(tarnd)[1])
    conn.DeleteInstance(path)
    assert value(after, "tarn_repository_instances", namespace=NS) == \
        value(before, "tarn_repository_instances", namespace=NS) + 1
