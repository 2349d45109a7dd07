"""Indications end to end: subscriptions made with pywbem's subscription
manager, writes in root/cimv2, and what pywbem's WBEMListener (or a raw
listener, where the answer matters) receives.

Deliveries to one destination arrive in order, so "nothing arrived for X"
is shown by a later marker arriving first, not by waiting (except while
delivery is stopped, where nothing may arrive within a bounded second)."""
import http.server
import queue
import re
import socket
import threading
import time

import pytest

from conftest import cim_error, free_port, pywbem

SCHEMA = [("indications.mof", "root/cimv2")]
# Failed deliveries: 1 second per attempt (the retry settings are set below).
CONF = "[Indication]\nDeliveryAttemptTimeout = 1"
NS = "root/cimv2"
INTEROP = "interop"
WAIT = 20  # seconds: the bound of every wait for an indication

if pywbem:
    from pywbem import CIMInstance, CIMInstanceName, Uint16, Uint32


class Inbox(queue.Queue):
    """Indications a listener received, in order."""

    def next(self, timeout=WAIT):
        try:
            return self.get(timeout=timeout)
        except queue.Empty:
            pytest.fail(f"no indication within {timeout} s")


@pytest.fixture(scope="module")
def inbox():
    box = Inbox()
    listener = pywbem.WBEMListener("127.0.0.1", http_port=free_port())
    listener.add_callback(lambda indication, *_: box.put(indication))
    listener.start()
    box.url = f"http://127.0.0.1:{listener.http_port}"
    yield box
    listener.stop()


@pytest.fixture(scope="module")
def manager(tarnd, conn):
    # Retries before the first delivery: the object manager reads them once.
    (service,) = conn.EnumerateInstances("CIM_IndicationService", namespace=INTEROP)
    service["DeliveryRetryAttempts"] = Uint16(1)
    service["DeliveryRetryInterval"] = Uint32(1)
    conn.ModifyInstance(service, PropertyList=["DeliveryRetryAttempts", "DeliveryRetryInterval"])
    m = pywbem.WBEMSubscriptionManager("tarntest")
    m.server_id = m.add_server(pywbem.WBEMServer(conn))
    yield m
    m.remove_all_servers()


class Subscribed:
    """Destinations, and a filter per query subscribed to all of them;
    removed at exit."""
    ids = iter(range(1_000_000))

    def __init__(self, manager, urls, *queries):
        self.m, sid = manager, manager.server_id
        self.destinations = [manager.add_destination(sid, u, destination_id=f"d{next(self.ids)}")
                             .path for u in urls]
        self.filters = [manager.add_filter(sid, NS, q, filter_id=f"f{next(self.ids)}").path
                        for q in queries]
        self.filter = self.filters[0]
        self.subscriptions = [s.path for f in self.filters
                              for s in manager.add_subscriptions(sid, f, self.destinations)]

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        sid = self.m.server_id
        self.m.remove_subscriptions(sid, self.subscriptions)
        for f in self.filters:
            self.m.remove_filter(sid, f)
        self.m.remove_destinations(sid, self.destinations)


def watched(ident, level=1):
    return CIMInstance("TEST_Watched", properties={"Id": ident, "Level": Uint32(level)})


def create(conn, ident, level=1):
    return conn.CreateInstance(watched(ident, level), namespace=NS)


def test_life_cycle_indications_carry_the_instance(conn, manager, inbox):
    with Subscribed(manager, [inbox.url], "SELECT * FROM CIM_InstIndication "
                                          "WHERE SourceInstance ISA TEST_Watched"):
        path = create(conn, "life", 1)
        with cim_error(pywbem.CIM_ERR_ALREADY_EXISTS):
            create(conn, "life", 5)  # fails: no indication
        changed = watched("life", 2)
        changed.path = path
        conn.ModifyInstance(changed)
        conn.DeleteInstance(path)
        got = [inbox.next() for _ in range(3)]
    assert [i.classname for i in got] == ["CIM_InstCreation", "CIM_InstModification",
                                          "CIM_InstDeletion"]
    assert [i["SourceInstance"]["Level"] for i in got] == [1, 2, 2]
    assert all(i["SourceInstance"]["Id"] == "life" for i in got)
    assert got[1]["PreviousInstance"]["Level"] == 1
    assert "TEST_Watched" in got[0]["SourceInstanceModelPath"]
    assert 'Id="life"' in got[0]["SourceInstanceModelPath"]
    assert len({i["IndicationIdentifier"] for i in got}) == 3
    assert all(i["IndicationTime"] is not None for i in got)


def test_filter_condition_and_disabled_or_expired_subscription(conn, manager, inbox):
    with Subscribed(manager, [inbox.url],
                    "SELECT * FROM CIM_InstCreation WHERE SourceInstance.Level > 5",
                    "SELECT * FROM CIM_InstCreation WHERE SourceInstance.Id = 'off'",
                    "SELECT * FROM CIM_InstCreation WHERE SourceInstance.Id = 'over'") as s:
        def modify(path, **properties):
            conn.ModifyInstance(CIMInstance("CIM_IndicationSubscription", path=path,
                                            properties=properties), PropertyList=list(properties))

        modify(s.subscriptions[1], SubscriptionState=Uint16(4))
        # SubscriptionDuration counts from the start: the one of 0 s is over at once.
        modify(s.subscriptions[0], SubscriptionDuration=pywbem.Uint64(3600))
        modify(s.subscriptions[2], SubscriptionDuration=pywbem.Uint64(0))
        remaining = [conn.GetInstance(p)["SubscriptionTimeRemaining"] for p in s.subscriptions]
        assert 3500 < remaining[0] <= 3600 and remaining[1:] == [None, 0], remaining
        with cim_error(pywbem.CIM_ERR_FAILED):
            modify(s.subscriptions[2], SubscriptionDuration=pywbem.Uint64(60))
        create(conn, "low", 3)
        create(conn, "off", 1)
        create(conn, "over", 1)
        create(conn, "high", 7)
        first = inbox.next()
    assert first["SourceInstance"]["Id"] == "high"
    assert inbox.empty()


def test_subscriptions_are_checked(conn, manager, inbox):
    sid = manager.server_id
    cases = [
        (pywbem.CIM_ERR_INVALID_QUERY, lambda: manager.add_filter(
            sid, NS, "SELECT * FROM CIM_InstCreation WHERE", filter_id="bad1")),
        (pywbem.CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED, lambda: manager.add_filter(
            sid, NS, "SELECT * FROM CIM_InstCreation", query_language="SQL", filter_id="bad2")),
        (pywbem.CIM_ERR_INVALID_PARAMETER, lambda: manager.add_filter(
            sid, NS, "SELECT * FROM TEST_Watched", filter_id="bad3")),  # not an indication
        (pywbem.CIM_ERR_INVALID_PARAMETER, lambda: conn.CreateInstance(CIMInstance(
            "CIM_ListenerDestinationCIMXML", properties={"Name": "bad4",
                                                         "Destination": "ftp://127.0.0.1:21"}),
            namespace=INTEROP)),
    ]
    for status, call in cases:
        with cim_error(status):
            call()
    missing = CIMInstanceName("CIM_IndicationFilter", namespace=INTEROP, keybindings={
        "SystemCreationClassName": "CIM_ComputerSystem", "SystemName": "x",
        "CreationClassName": "CIM_IndicationFilter", "Name": "none"})
    with Subscribed(manager, [inbox.url], "SELECT * FROM CIM_InstDeletion") as s:
        with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
            manager.add_subscriptions(sid, missing, s.destinations)
        for used in (s.filter, s.destinations[0]):
            with cim_error(pywbem.CIM_ERR_FAILED) as refused:
                conn.DeleteInstance(used)
            assert "used by 1 subscription" in refused.value.status_description


def indication_metrics(tarnd):
    """{family: {destination: value}} of the indication series of /metrics."""
    _, body = tarnd.request("GET", "/metrics")
    out = {}
    for m in re.finditer(r'^(tarn_indications_\w+)\{destination="((?:[^"\\]|\\.)*)"\} (\S+)$', body, re.M):
        out.setdefault(m.group(1), {})[m.group(2)] = float(m.group(3))
    return out


def test_a_silent_destination_delays_no_other(tarnd, conn, manager, inbox):
    silent = socket.socket()  # accepts connections, never answers
    silent.bind(("127.0.0.1", 0))
    silent.listen(64)
    with silent, Subscribed(manager, [f"http://127.0.0.1:{silent.getsockname()[1]}",
                                      inbox.url],
                            "SELECT * FROM CIM_InstCreation "
                            "WHERE SourceInstance.Id LIKE 'many%'"):
        start = time.monotonic()
        for n in range(20):
            create(conn, f"many{n}")
        got = [inbox.next()["SourceInstance"]["Id"] for _ in range(20)]
        # Each delivery to the silent one takes 3 s (two attempts, 1 s apart).
        assert time.monotonic() - start < 15
        # /metrics shows the silent one's backlog, and the live one's 20 once
        # its last answer has been read.
        counts = indication_metrics(tarnd)
        assert max(counts["tarn_indications_queued"].values()) >= 10
        deadline = time.monotonic() + WAIT
        while 20 not in counts["tarn_indications_delivered_total"].values():
            assert time.monotonic() < deadline, counts
            time.sleep(0.05)
            counts = indication_metrics(tarnd)
        ours = set(counts["tarn_indications_queued"])
    assert got == [f"many{n}" for n in range(20)]
    # Unsubscribed, the destinations leave /metrics (the silent one once its
    # attempt under way has ended), their backlog at once.
    deadline = time.monotonic() + WAIT
    while ours & set(queued := indication_metrics(tarnd).get("tarn_indications_queued", {})):
        assert all(queued[d] == 0 for d in ours & set(queued)), queued
        assert time.monotonic() < deadline, queued
        time.sleep(0.05)


class FlakyListener(http.server.BaseHTTPRequestHandler):
    """Answers 500 to its first export request, 200 afterwards."""
    seen = []
    arrived = threading.Event()

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        FlakyListener.seen.append((time.monotonic(), body))
        self.send_response(500 if len(FlakyListener.seen) == 1 else 200)
        self.send_header("Content-Length", "0")
        self.end_headers()
        if len(FlakyListener.seen) == 2:
            FlakyListener.arrived.set()

    def log_message(self, *args):
        pass


def test_a_failed_delivery_is_retried_as_the_service_says(conn, manager):
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), FlakyListener)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    try:
        with Subscribed(manager, [f"http://127.0.0.1:{server.server_port}"],
                        "SELECT * FROM CIM_InstCreation WHERE SourceInstance.Id = 'flaky'"):
            create(conn, "flaky")
            assert FlakyListener.arrived.wait(WAIT)
    finally:
        server.shutdown()
    (t1, first), (t2, second) = FlakyListener.seen
    unstamped = [re.sub(rb'MESSAGE ID="[^"]*"', b"", body) for body in (first, second)]
    assert unstamped[0] == unstamped[1]  # the same indication, tried again
    assert t2 - t1 >= 0.9  # DeliveryRetryInterval = 1


def test_stopping_the_service_holds_indications_until_it_starts(conn, manager, inbox):
    service = CIMInstanceName("TARN_Service", namespace=NS, keybindings={
        "SystemCreationClassName": "TARN_ComputerSystem", "SystemName": "tarn-example.local",
        "CreationClassName": "TARN_Service", "Name": "tarn-indications"})
    with Subscribed(manager, [inbox.url], "SELECT * FROM CIM_InstCreation "
                                          "WHERE SourceInstance.Id LIKE 'held%'"):
        assert conn.InvokeMethod("StopService", service)[0] == 0
        assert conn.GetInstance(service)["Started"] is False
        create(conn, "held1")
        create(conn, "held2")
        with pytest.raises(queue.Empty):
            inbox.get(timeout=1)  # bounded: nothing may come while stopped
        assert conn.InvokeMethod("StartService", service)[0] == 0
        got = [inbox.next()["SourceInstance"]["Id"] for _ in range(2)]
    assert got == ["held1", "held2"]


def test_subscriptions_survive_a_restart(tarnd, conn, manager, inbox):
    with Subscribed(manager, [inbox.url], "SELECT * FROM CIM_InstCreation "
                                          "WHERE SourceInstance.Id = 'after'") as s:
        tarnd.restart()
        kept = conn.EnumerateInstances("CIM_IndicationSubscription", namespace=INTEROP)
        assert s.filter["Name"] in [i["Filter"]["Name"] for i in kept]
        create(conn, "after")
        assert inbox.next()["SourceInstance"]["Id"] == "after"
