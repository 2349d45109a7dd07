"""Pulled enumerations through pywbem: opens, pulls to the end, close,
expiry, ownership, kinds and limits."""
import time

import pytest

from conftest import cim_error, pywbem

SCHEMA = [("types.mof", "root/cimv2")]
CONF = "[Pull]\nMaxOpenPerUser = 6\nMaxOperationTimeout = 600\n"
COUNT = 25

if pywbem:
    from pywbem import CIMInstance, Uint8

    INVALID_CONTEXT = pywbem.CIM_ERR_INVALID_ENUMERATION_CONTEXT


@pytest.fixture(scope="module", autouse=True)
def instances(conn):
    for i in range(COUNT):
        cls = "TEST_MoreTypes" if i % 5 == 0 else "TEST_AllTypes"
        props = {"Id": f"i{i:02}", "U8": Uint8(i)}
        if cls == "TEST_MoreTypes":
            props["Extra"] = "x"
        conn.CreateInstance(CIMInstance(cls, properties=props))


def close(conn, context):
    """CloseEnumeration. Its answer carries an empty IRETURNVALUE, which
    pywbem's own CloseEnumeration refuses, so it is called as a raw
    intrinsic method that has a return value."""
    result = conn._imethodcall("CloseEnumeration", namespace=context[1],
                               EnumerationContext=context[0], has_return_value=True)
    assert [child[0] for child in result] == ["IRETURNVALUE"]


def pull_all(conn, first, pull, count):
    """The results of an open and its pulls, and how many responses it took."""
    results, responses = list(first.instances if hasattr(first, "instances") else first.paths), 1
    eos, context = first.eos, first.context
    while not eos:
        r = pull(context, MaxObjectCount=count)
        items = r.instances if hasattr(r, "instances") else r.paths
        assert len(items) <= count
        results += items
        eos, context = r.eos, r.context
        responses += 1
    return results, responses


@pytest.mark.parametrize("first,count", [(0, 4), (1, 1), (7, 10), (1000, 5)])
def test_instances_and_paths_arrive_complete_in_batches(conn, first, count):
    r = conn.OpenEnumerateInstances("TEST_AllTypes", MaxObjectCount=first)
    assert len(r.instances) == min(first, COUNT)
    got, responses = pull_all(conn, r, conn.PullInstancesWithPath, count)
    assert sorted(i["Id"] for i in got) == [f"i{i:02}" for i in range(COUNT)]
    assert all(i.path.keybindings["Id"] == i["Id"] for i in got)
    if first == 0:
        assert responses >= 1 + COUNT // count
    r = conn.OpenEnumerateInstancePaths("TEST_AllTypes", MaxObjectCount=first)
    got, _ = pull_all(conn, r, conn.PullInstancePaths, count)
    assert sorted(p["Id"] for p in got) == [f"i{i:02}" for i in range(COUNT)]


def test_every_batch_is_written_as_the_open_asked(conn):
    r = conn.OpenEnumerateInstances("TEST_AllTypes", DeepInheritance=False,
                                    PropertyList=["Id", "Extra", "U8"], MaxObjectCount=1)
    got, _ = pull_all(conn, r, conn.PullInstancesWithPath, 3)
    assert {tuple(sorted(i.keys())) for i in got} == {("Id", "U8")}


def test_close_ends_the_enumeration(conn):
    r = conn.OpenEnumerateInstances("TEST_AllTypes", MaxObjectCount=2)
    close(conn, r.context)
    with cim_error(INVALID_CONTEXT):
        conn.PullInstancesWithPath(r.context, MaxObjectCount=2)
    with cim_error(INVALID_CONTEXT):
        close(conn, r.context)


def test_an_idle_enumeration_expires(conn):
    r = conn.OpenEnumerateInstances("TEST_AllTypes", MaxObjectCount=1, OperationTimeout=1)
    time.sleep(2.5)
    with cim_error(INVALID_CONTEXT):
        conn.PullInstancesWithPath(r.context, MaxObjectCount=1)


def test_a_context_serves_only_its_owner_kind_and_namespace(tarnd, conn):
    r = conn.OpenEnumerateInstances("TEST_AllTypes", MaxObjectCount=1)
    other = tarnd.connection("bob", tarnd.add_user("bob", "reader"))
    with cim_error(INVALID_CONTEXT):
        other.PullInstancesWithPath(r.context, MaxObjectCount=1)
    with cim_error(INVALID_CONTEXT):
        conn.PullInstancePaths(r.context, MaxObjectCount=1)
    with cim_error(INVALID_CONTEXT):
        conn.PullInstancesWithPath((r.context[0], "interop"), MaxObjectCount=1)
    with cim_error(INVALID_CONTEXT):
        conn.PullInstancesWithPath(("0" * 32, r.context[1]), MaxObjectCount=1)
    # Still intact for its owner.
    rest, _ = pull_all(conn, r, conn.PullInstancesWithPath, 100)
    assert len(rest) == COUNT


@pytest.mark.parametrize("kwargs,status", [
    ({"OperationTimeout": 0}, "CIM_ERR_INVALID_OPERATION_TIMEOUT"),
    ({"OperationTimeout": 601}, "CIM_ERR_INVALID_OPERATION_TIMEOUT"),
    ({"ContinueOnError": True}, "CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED"),
    ({"FilterQueryLanguage": "DMTF:FQL", "FilterQuery": "U8 > 3"},
     "CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED"),
])
def test_unsupported_options_are_refused(conn, kwargs, status):
    with cim_error(getattr(pywbem, status)):
        conn.OpenEnumerateInstances("TEST_AllTypes", **kwargs)


def test_open_enumerations_are_limited_per_user(tarnd, conn):
    limited = tarnd.connection("carol", tarnd.add_user("carol", "reader"))
    contexts = [limited.OpenEnumerateInstancePaths("TEST_AllTypes", MaxObjectCount=0).context
                for _ in range(6)]
    with cim_error(pywbem.CIM_ERR_SERVER_LIMITS_EXCEEDED):
        limited.OpenEnumerateInstancePaths("TEST_AllTypes", MaxObjectCount=0)
    # Another user is not held back, and a closed one frees a place.
    close(conn, conn.OpenEnumerateInstancePaths("TEST_AllTypes", MaxObjectCount=0).context)
    close(limited, contexts[0])
    close(limited, limited.OpenEnumerateInstancePaths("TEST_AllTypes", MaxObjectCount=0).context)


def test_a_query_is_pulled_with_its_result_class(conn, tarnd):
    query = "SELECT Id, U8 FROM TEST_AllTypes WHERE U8 >= 10"
    r = conn.OpenQueryInstances("WQL", query, ReturnQueryResultClass=True, MaxObjectCount=3)
    assert r.query_result_class.classname == "TEST_AllTypes"
    got, _ = pull_all(conn, r, conn.PullInstances, 4)
    assert sorted(i["U8"] for i in got) == list(range(10, COUNT))
    assert {tuple(sorted(i.keys())) for i in got} == {("Id", "U8")}
    # A query enumeration is pulled with PullInstances only.
    r = conn.OpenQueryInstances("DMTF:CQL", "SELECT * FROM TEST_AllTypes", MaxObjectCount=0)
    assert r.query_result_class is None
    with cim_error(INVALID_CONTEXT):
        conn.PullInstancesWithPath(r.context, MaxObjectCount=1)
    with cim_error(pywbem.CIM_ERR_INVALID_QUERY):
        conn.OpenQueryInstances("WQL", "SELECT Nope FROM TEST_AllTypes")
    iterated = tarnd.connection(use_pull_operations=True).IterQueryInstances(
        "WQL", query, MaxObjectCount=5)
    assert len(list(iterated.generator)) == COUNT - 10


def test_association_traversals_are_pulled_as_their_plain_forms_answer(conn):
    system = conn.EnumerateInstanceNames("TARN_ComputerSystem")[0]
    cases = [
        (conn.OpenAssociatorInstances, conn.PullInstancesWithPath, conn.Associators,
         {"AssocClass": "TARN_HostedService"}),
        (conn.OpenAssociatorInstancePaths, conn.PullInstancePaths, conn.AssociatorNames,
         {"ResultClass": "TARN_Service", "Role": "Antecedent", "ResultRole": "Dependent"}),
        (conn.OpenReferenceInstances, conn.PullInstancesWithPath, conn.References,
         {"ResultClass": "TARN_HostedService"}),
        (conn.OpenReferenceInstancePaths, conn.PullInstancePaths, conn.ReferenceNames,
         {"Role": "Antecedent"}),
    ]
    for open_, pull, plain, filters in cases:
        expected = plain(system, **filters)
        assert expected, plain.__name__
        got, _ = pull_all(conn, open_(system, MaxObjectCount=1, **filters), pull, 1)
        paths = {str(x.path if hasattr(x, "path") else x).lower() for x in got}
        assert paths == {str(x.path if hasattr(x, "path") else x).lower() for x in expected}, \
            open_.__name__
    with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
        conn.OpenAssociatorInstances(pywbem.CIMInstanceName("TARN_ComputerSystem",
                                                            namespace="root/cimv2"))
