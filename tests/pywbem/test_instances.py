"""Instance operations through pywbem, across every CIM type."""
import pytest

from conftest import cim_error, pywbem

SCHEMA = [("types.mof", "root/cimv2")]

if pywbem:
    from pywbem import (CIMDateTime, CIMInstance, CIMInstanceName, Char16, Real32, Real64,
                        Sint8, Sint16, Sint32, Sint64, Uint8, Uint16, Uint32, Uint64)

NS = "root/cimv2"


def part(pid, size):
    return CIMInstance("TEST_Part", properties={"Id": pid, "Size": Uint32(size)})


def full_instance(key):
    """An instance with a value in every property, at the edges of each type."""
    return CIMInstance("TEST_AllTypes", properties=[
        ("Id", key),
        ("Flag", True),
        ("Text", "caf\u00e9 <&> \"quoted\" \u4e2d"),
        ("Letter", Char16("\u00e9")),
        ("When", CIMDateTime("20261123101112.123456+060")),
        ("HowLong", CIMDateTime("00000001020304.000005:000")),
        ("U8", Uint8(255)), ("S8", Sint8(-128)),
        ("U16", Uint16(65535)), ("S16", Sint16(-32768)),
        ("U32", Uint32(4294967295)), ("S32", Sint32(-2147483648)),
        ("U64", Uint64(18446744073709551615)), ("S64", Sint64(-9223372036854775808)),
        ("R32", Real32(1.5)), ("R64", Real64(0.1)),
        ("Flags", [True, False]),
        ("Texts", ["a", "c d"]),
        ("Bytes", [Uint8(0), Uint8(7)]),
        ("Longs", [Sint64(-1), Sint64(9223372036854775807)]),
        ("Reals", [Real64(1e300), Real64(-2.5e-300)]),
        ("Times", [CIMDateTime("20000101000000.000000+000")]),
        ("Letters", [Char16("x"), Char16("y")]),
        ("Part", part("p1", 10)),
        ("Parts", [part("p2", 20), part("p3", 30)]),
        ("Anything", part("p4", 40)),
    ])


def test_every_type_survives_a_round_trip(conn):
    sent = full_instance("full")
    path = conn.CreateInstance(sent)
    assert path.classname.lower() == "test_alltypes"
    assert path.keybindings["Id"] == "full"
    got = conn.GetInstance(path)
    for name, prop in sent.properties.items():
        value = got[name]
        if name in ("Part", "Parts", "Anything"):
            parts = value if isinstance(value, list) else [value]
            expected = prop.value if isinstance(prop.value, list) else [prop.value]
            assert [(p["Id"], p["Size"]) for p in parts] == \
                [(p["Id"], p["Size"]) for p in expected], name
            continue
        assert value == prop.value, name
        assert got.properties[name].type == prop.type, name
    assert got["Counter"] == 7  # the class default


def test_properties_without_a_value_are_null(conn):
    path = conn.CreateInstance(CIMInstance("TEST_AllTypes", properties={"Id": "sparse"}))
    got = conn.GetInstance(path)
    for name in ("Flag", "Text", "Letter", "When", "U64", "R32", "Part", "Anything"):
        assert got[name] is None, name
    # A NULL array is left out of the instance (CIM-XML has no element for
    # it), so pywbem has no value for it: not an empty list.
    for name in ("Flags", "Texts", "Bytes", "Longs", "Reals", "Times", "Letters", "Parts"):
        assert got.get(name) is None, name
    assert got["Counter"] == 7


def test_modify_changes_only_the_listed_properties(conn):
    path = conn.CreateInstance(full_instance("mod"))
    change = CIMInstance("TEST_AllTypes", path=path,
                         properties={"Id": "mod", "Text": "new", "U8": Uint8(1),
                                     "Longs": [Sint64(5)]})
    conn.ModifyInstance(change, PropertyList=["Text", "Longs"])
    got = conn.GetInstance(path)
    assert (got["Text"], got["U8"], got["Longs"]) == ("new", 255, [5])


def test_delete_then_the_instance_is_gone(conn):
    path = conn.CreateInstance(CIMInstance("TEST_AllTypes", properties={"Id": "gone"}))
    conn.DeleteInstance(path)
    with cim_error(pywbem.CIM_ERR_NOT_FOUND):
        conn.GetInstance(path)
    with cim_error(pywbem.CIM_ERR_NOT_FOUND):
        conn.DeleteInstance(path)


# An instance that exists already is OperationsTest's (tests/e2e), with its wire text.
@pytest.mark.parametrize("what,call,status", [
    ("an unknown class", lambda c: c.GetInstance(CIMInstanceName("TEST_Nothing", {"Id": "x"})),
     "CIM_ERR_INVALID_CLASS"),
    ("an unknown namespace",
     lambda c: c.EnumerateInstanceNames("TEST_AllTypes", namespace="root/nowhere"),
     "CIM_ERR_INVALID_NAMESPACE"),
    ("a property the class lacks", lambda c: c.CreateInstance(
        CIMInstance("TEST_AllTypes", properties={"Id": "bad", "Nope": "x"})),
     "CIM_ERR_INVALID_PARAMETER"),
    ("a value of another type", lambda c: c.CreateInstance(
        CIMInstance("TEST_AllTypes", properties={"Id": "bad", "U8": "many"})),
     "CIM_ERR_TYPE_MISMATCH"),
])
def test_errors_carry_their_status(conn, what, call, status):
    with cim_error(getattr(pywbem, status)):
        call(conn)
