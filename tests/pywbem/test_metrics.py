"""GET /metrics: the Prometheus exposition of tarnd, read with and without
credentials, checked line by line against the text format, and its counters
followed across real CIM operations."""
import re

import pytest

from conftest import cim_error, pywbem

NS = "root/cimv2"
SCHEMA = [("types.mof", NS)]

SAMPLE = re.compile(r"^([a-zA-Z_:][a-zA-Z0-9_:]*)(?:\{(.*)\})? (\S+)$")


def parse(text):
    """The families of an exposition, {name: type}, and its samples,
    {(name, labels): value}: every line a HELP, a TYPE or a sample, no series
    twice. (The writer's text format is pinned by the metrics unit tests.)"""
    assert text.endswith("\n")
    families, samples = {}, {}
    for line in text.splitlines():
        if line.startswith("# TYPE "):
            _, _, name, kind = line.split(" ")
            families[name] = kind
        elif not line.startswith("# HELP "):
            m = SAMPLE.match(line)
            assert m, f"not a sample line: {line!r}"
            name, labels, value = m.groups()
            assert (name, labels or "") not in samples, f"series twice: {line}"
            samples[(name, labels or "")] = float(value)
    return families, samples


def get_metrics(tarnd, user="admin", password=None):
    return tarnd.request("GET", "/metrics", user=user, password=password)


def value(samples, name, **labels):
    text = ",".join(f'{k}="{v}"' for k, v in labels.items())
    return samples.get((name, text), 0.0)


def test_metrics_need_credentials_and_readers_may_read(tarnd):
    r, _ = get_metrics(tarnd, user=None)
    assert r.status == 401 and r.getheader("WWW-Authenticate", "").startswith("Basic")
    reader = tarnd.add_user("watcher", "reader")
    r, body = get_metrics(tarnd, user="watcher", password=reader)
    assert r.status == 200, body
    assert r.getheader("Content-Type").startswith("text/plain; version=0.0.4")


def test_exposition_is_valid_and_parses_with_the_prometheus_client(tarnd, conn):
    conn.EnumerateInstanceNames("CIM_Namespace", namespace="interop")
    _, body = get_metrics(tarnd)
    families, samples = parse(body)
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
    _, before = parse(get_metrics(tarnd)[1])
    for _ in range(3):
        with cim_error(pywbem.CIM_ERR_NOT_FOUND):
            conn.GetInstance(pywbem.CIMInstanceName("TEST_Part", {"Id": "nowhere"}, namespace=NS))
    with cim_error(pywbem.CIM_ERR_INVALID_QUERY):
        conn.ExecQuery("WQL", "SELECT FROM", NS)
    ctx = conn.OpenEnumerateInstances("CIM_Namespace", namespace="interop", MaxObjectCount=0)
    _, during = parse(get_metrics(tarnd)[1])
    assert conn.PullInstancesWithPath(ctx.context, MaxObjectCount=100).eos
    _, after = parse(get_metrics(tarnd)[1])

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
    _, before = parse(get_metrics(tarnd)[1])
    path = conn.CreateInstance(pywbem.CIMInstance("TEST_Part", properties={"Id": "metrics"}),
                               namespace=NS)
    _, after = parse(get_metrics(tarnd)[1])
    conn.DeleteInstance(path)
    assert value(after, "tarn_repository_instances", namespace=NS) == \
        value(before, "tarn_repository_instances", namespace=NS) + 1
