"""InvokeMethod through pywbem: the test method provider (parameters of every
kind, instance and static methods, inheritance) and the sample provider."""

import pytest

from conftest import cim_error, pywbem

SCHEMA = [("types.mof", "root/cimv2"), ("methods.mof", "root/cimv2"),
          ("../../../examples/providers/TARN_SampleCounter.mof", "root/cimv2")]
MODULES = ["libtarn_test_MethodProvider.so", "libtarn_sample_provider.so"]
NS = "root/cimv2"

if pywbem:
    from pywbem import (CIMClassName, CIMDateTime, CIMInstance, CIMInstanceName, Char16, Real32, Real64, Sint8, Sint16, Sint32, Sint64, Uint8, Uint16,
                        Uint32, Uint64)


def methods_class():
    return CIMClassName("TEST_Methods", namespace=NS)


def methods_instance(iid="m1", cls="TEST_Methods"):
    return CIMInstanceName(cls, keybindings={"Id": iid}, namespace=NS)


def part(pid, size=None):
    props = {"Id": pid}
    if size is not None:
        props["Size"] = Uint32(size)
    return CIMInstance("TEST_Part", properties=props)


def every_kind():
    return {
        "Flag": True, "Text": "caf\u00e9 <&> \"q\"", "Letter": Char16("\u00e9"),
        "When": CIMDateTime("20261123101112.123456+060"),
        "HowLong": CIMDateTime("00000001020304.000005:000"),
        "U8": Uint8(255), "S8": Sint8(-128), "U16": Uint16(65535), "S16": Sint16(-32768),
        "U32": Uint32(4294967295), "S32": Sint32(-2147483648),
        "U64": Uint64(18446744073709551615), "S64": Sint64(-9223372036854775808),
        "R32": Real32(1.5), "R64": Real64(0.1),
        "Target": methods_instance(),
        "Part": part("p1", 10),
        "Texts": ["a", "b c"], "Numbers": [Uint32(1), Uint32(2)], "Flags": [True, False],
        "Times": [CIMDateTime("20000101000000.000000+000")], "Reals": [Real64(1e300)],
        "Targets": [methods_instance(), methods_instance("s1", "TEST_MethodsSub")],
        "Parts": [part("p2", 20), part("p3")],
    }


def same(a, b):
    """Equality that compares embedded instances by their properties."""
    if isinstance(a, list):
        return len(a) == len(b) and all(same(x, y) for x, y in zip(a, b))
    if isinstance(a, CIMInstance):
        return a.classname == b.classname and dict(a.items()) == dict(b.items())
    if isinstance(a, CIMInstanceName):
        return a.classname.lower() == b.classname.lower() and \
            dict(a.keybindings) == dict(b.keybindings) and b.namespace == NS
    # pywbem gives char16 outputs as str.
    return a == b and (type(a) is type(b) or isinstance(a, Char16))


@pytest.mark.parametrize("target", ["class", "instance"])
def test_every_kind_of_parameter_comes_back_typed_as_declared(conn, target):
    sent = every_kind()
    path = methods_class() if target == "class" else methods_instance()
    result, out = conn.InvokeMethod("Echo", path, **sent)
    assert result == len(sent) and isinstance(result, Uint32)
    assert set(out) == set(sent)
    for name, value in sent.items():
        if name in ("Flag", "Flags"):
            continue  # pywbem reads every boolean output as True (bool("FALSE")): see below
        assert same(value, out[name]), (name, value, out[name])
    reply = conn.last_raw_reply.decode().replace("\n", "")
    assert '<PARAMVALUE NAME="Flag" PARAMTYPE="boolean"><VALUE>TRUE</VALUE>' in reply
    assert ('<PARAMVALUE NAME="Flags" PARAMTYPE="boolean"><VALUE.ARRAY><VALUE>TRUE</VALUE>'
            '<VALUE>FALSE</VALUE></VALUE.ARRAY>') in reply


def test_instance_methods_run_on_instances_that_exist(conn):
    result, out = conn.InvokeMethod("Describe", methods_instance(), Prefix="it is ")
    assert result == 'it is TEST_Methods.id="m1"'
    assert same(methods_instance(), out["Self"])
    # Inherited by the subclass, and served by its parent's provider.
    result, out = conn.InvokeMethod("Describe", methods_instance("s1", "TEST_MethodsSub"))
    assert result == 'TEST_MethodsSub.id="s1"'
    with cim_error(pywbem.CIM_ERR_NOT_FOUND):
        conn.InvokeMethod("Describe", methods_instance("nobody"))
    with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
        conn.InvokeMethod("Describe", methods_class())


def test_return_values_of_every_form(conn):
    result, out = conn.InvokeMethod("MakePart", methods_class(), Id="p9", Size=Uint32(9))
    assert same(part("p9", 9), result) and out == {}
    result, _ = conn.InvokeMethod("Find", methods_class(), Id="m1")
    assert same(methods_instance(), result)
    result, out = conn.InvokeMethod("Need", methods_class(), X=Uint32(21))
    assert result == 0 and out["Twice"] == 42 and isinstance(out["Twice"], Uint64)


REFUSED = [
    # method, target, parameters, status
    ("Nope", "class", {}, 17),
    ("echo2", "instance", {}, 17),
    ("Need", "class", {}, 4),                                   # Required X missing
    ("Need", "class", {"X": None}, 4),                          # given, but null
    ("Need", "class", {"X": "twelve"}, 4),                      # a string for a uint32
    ("Need", "class", {"X": Sint32(-1)}, 4),                    # out of the range of uint32
    ("Need", "class", {"X": Uint32(1), "Y": Uint32(2)}, 4),     # no such parameter
    ("Need", "class", {"X": Uint32(1), "Twice": Uint64(2)}, 4),  # an output only
    ("Echo", "class", {"Target": CIMInstanceName("TEST_Part", {"Id": "p"})}, 4),  # wrong class
    ("Echo", "class", {"Part": CIMInstance("TEST_AllTypes", properties={"Id": "x"})}, 4),
    ("Echo", "class", {"Texts": "not an array"}, 4),
    ("Need", "class", {"X": Uint32(1), "x": Uint32(2)}, 4),     # the same parameter twice
] if pywbem else []


@pytest.mark.parametrize("method,target,params,status", REFUSED)
def test_calls_that_do_not_fit_the_definition_are_refused(conn, method, target, params, status):
    path = methods_class() if target == "class" else methods_instance()
    with cim_error(status):
        conn.InvokeMethod(method, path, list(params.items()))


def test_a_method_without_provider_is_not_available(conn):
    # CIM_ERR_METHOD_NOT_AVAILABLE reaches CIM-XML clients as CIM_ERR_NOT_SUPPORTED.
    with cim_error(pywbem.CIM_ERR_NOT_SUPPORTED) as e:
        conn.InvokeMethod("Orphan", CIMClassName("TEST_NoProvider", namespace=NS))
    assert "No provider serves method TEST_NoProvider.Orphan" in str(e.value)


def test_calling_a_method_needs_the_writer_role(tarnd):
    password = tarnd.add_user("rita", "reader")
    with cim_error(pywbem.CIM_ERR_ACCESS_DENIED):
        tarnd.connection("rita", password).InvokeMethod("Need", methods_class(), X=Uint32(1))
    password = tarnd.add_user("walt", "writer")
    result, out = tarnd.connection("walt", password).InvokeMethod(
        "Need", methods_class(), X=Uint32(1))
    assert out["Twice"] == 2


def test_the_sample_counter(conn):
    counters = CIMClassName("TARN_SampleCounter", namespace=NS)
    result, out = conn.InvokeMethod("Create", counters, Name="hits")
    assert result == 0
    counter = out["Counter"]
    assert counter.keybindings["Name"] == "hits" and counter.namespace == NS
    assert conn.InvokeMethod("Create", counters, Name="hits")[0] == 1  # exists already
    for amount, total in ((5, 5), (7, 12)):
        result, out = conn.InvokeMethod("Add", counter, Amount=Uint64(amount))
        assert result == 0 and out["Total"] == total
    assert conn.GetInstance(counter)["Value"] == 12
    result, out = conn.InvokeMethod("Add", counter, Amount=Uint64(18446744073709551615))
    assert result == 1 and out["Total"] == 12  # would overflow: unchanged
    found = conn.ExecQuery("WQL", "SELECT Name FROM TARN_SampleCounter WHERE Value > 10")
    assert [i["Name"] for i in found] == ["hits"]
    with cim_error(pywbem.CIM_ERR_NOT_FOUND):
        conn.InvokeMethod("Add", CIMInstanceName("TARN_SampleCounter", {"Name": "misses"},
                                                 namespace=NS), Amount=Uint64(1))
