"""ExecQuery in WQL and DMTF:CQL through pywbem: one table of queries and the
instances each selects, one of projections, one of the queries refused."""
import pytest

from conftest import cim_error, pywbem

SCHEMA = [("query.mof", "root/cimv2")]

if pywbem:
    from pywbem import CIMDateTime, CIMInstance, Char16, Real64, Sint32, Uint8, Uint32

WQL = "WQL"
CQL = "DMTF:CQL"
ALL = {"a1", "a2", "b1", "n1", "s1", "u1"}


def part(pid, size, cls="TEST_QPart"):
    return CIMInstance(cls, properties={"Id": pid, "Size": Uint32(size)})


def item(iid, *values, cls="TEST_QItem", **more):
    """A TEST_QItem with values for Name, Count, Delta, Ratio, Flag, When,
    Age, Letter, Small, Tags and Part in this order (None: no value)."""
    kinds = [str, Uint32, Sint32, Real64, bool, CIMDateTime, CIMDateTime, Char16, Uint8, list,
             CIMInstance]
    names = ["Name", "Count", "Delta", "Ratio", "Flag", "When", "Age", "Letter", "Small", "Tags",
             "Part"]
    props = {n: v if isinstance(v, k) else k(v) for n, k, v in zip(names, kinds, values)
             if v is not None}
    return CIMInstance(cls, properties=dict({"Id": iid}, **props, **more))


@pytest.fixture(scope="module")
def items(conn):
    for inst in [
        item("a1", "apple", 10, -5, 0.5, True, "20240101120000.000000+000",
             "00000001000000.000000:000", "a", 1, ["red"], part("p1", 3)),
        item("a2", "apricot", 25, 7, 2.5, False, "20240101133000.000000+060",
             "00000000020000.000000:000", "b", 200, None, part("p2", 30, "TEST_QSpecialPart")),
        item("b1", "banana", 5, 0, -1.0, True, "20230601000000.000000+000",
             "00000000000000.000000:000", "c", 255),
        item("n1"),
        item("s1", "avocado", 40, -40, 10.0, False, "20250101000000.000000+000", None, None,
             None, None, part("p3", 12), cls="TEST_QSubItem", Extra="x"),
        item("u1", "Ap%p_le", 7),
    ]:
        conn.CreateInstance(inst)
    return conn


def ids(instances):
    return {i["Id"] for i in instances}


SELECTIONS = [
    # Classes and subclasses.
    (WQL, "SELECT * FROM TEST_QItem", ALL),
    (WQL, "SELECT * FROM TEST_QSubItem", {"s1"}),
    (CQL, "SELECT * FROM TEST_QItem", ALL),
    # Every comparison, integers of different types and signs, reals.
    (WQL, "SELECT * FROM TEST_QItem WHERE Count = 10", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count <> 10", {"a2", "b1", "s1", "u1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count != 10", {"a2", "b1", "s1", "u1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count < 10", {"b1", "u1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count <= 10", {"a1", "b1", "u1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count > 10", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count >= 25", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE 10 < Count", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count = 0x19", {"a2"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Delta < 0", {"a1", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Delta >= -5", {"a1", "a2", "b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Small > -1", {"a1", "a2", "b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count > Small", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Ratio > 1", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Ratio = 2.5E0", {"a2"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count > 9.5", {"a1", "a2", "s1"}),
    # Booleans, strings (case matters in values, not in names), char16.
    (WQL, "SELECT * FROM TEST_QItem WHERE Flag = TRUE", {"a1", "b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Flag", {"a1", "b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE NOT Flag", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Flag <> FALSE", {"a1", "b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name = 'apple'", {"a1"}),
    (WQL, "select * from test_qitem where nAmE = 'apple'", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE TEST_QItem.Count = 10", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name > 'b'", {"b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Letter = 'b'", {"a2"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Letter > 'a'", {"a2", "b1"}),
    # LIKE.
    (WQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'a%'", {"a1", "a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'ap_le'", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name LIKE '%an%'", {"b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name LIKE '%e'", {"a1", "u1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'a%c%'", {"a2", "s1"}),
    (WQL, r"SELECT * FROM TEST_QItem WHERE Name LIKE 'Ap\%p\_le'", {"u1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name NOT LIKE 'a%'", {"b1", "u1"}),
    (CQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'a.*'", {"a1", "a2", "s1"}),
    (CQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'ap.le'", {"a1"}),
    (CQL, "SELECT * FROM TEST_QItem WHERE Name LIKE '[ab].*n.*'", {"b1"}),
    (CQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'a[^p].*'", {"s1"}),
    (CQL, "SELECT * FROM TEST_QItem WHERE Name LIKE 'Ap%p_le'", {"u1"}),
    # NULL: tested with IS; a comparison with NULL (or with a NULL value) is never true.
    (WQL, "SELECT * FROM TEST_QItem WHERE Name IS NULL", {"n1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name IS NOT NULL", ALL - {"n1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Tags IS NULL", ALL - {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count = NULL", set()),
    (WQL, "SELECT * FROM TEST_QItem WHERE NOT (Count = NULL)", set()),
    (WQL, "SELECT * FROM TEST_QItem WHERE NOT (Count > 6)", {"b1"}),
    # AND, OR, NOT and parentheses.
    (WQL, "SELECT * FROM TEST_QItem WHERE Count > 5 AND Name LIKE 'a%'", {"a1", "a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count < 6 OR Flag = FALSE", {"a2", "b1", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE (Count > 20 OR Count < 6) AND NOT Flag", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count > 20 OR Count < 6 AND NOT Flag", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE NOT Count > 6 OR Name IS NULL", {"b1", "n1"}),
    # Datetimes as points in time (offsets applied) and as durations.
    (WQL, "SELECT * FROM TEST_QItem WHERE When > '20240101121500.000000+000'", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE When < '20240101123000.000000+000'", {"a1", "b1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE When = '20240101123000.000000+000'", {"a2"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Age > '00000000030000.000000:000'", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Age <= '00000000020000.000000:000'", {"a2", "b1"}),
    # ISA, on the instance itself and on embedded instances; embedded properties.
    (CQL, "SELECT * FROM TEST_QItem I WHERE I ISA TEST_QSubItem", {"s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE TEST_QItem ISA TEST_QSubItem", {"s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Part ISA TEST_QSpecialPart", {"a2"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Part ISA 'TEST_QPart'", {"a1", "a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Part.Size > 10", {"a2", "s1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Part.Id = 'p1'", {"a1"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Part.Size IS NULL", {"b1", "n1", "u1"}),
    # CQL aliases, double-quoted strings.
    (CQL, "SELECT * FROM TEST_QItem AS I WHERE I.Count > 10", {"a2", "s1"}),
    (CQL, "SELECT I.* FROM TEST_QItem I WHERE I.Count >= 25 AND NOT I.Flag", {"a2", "s1"}),
    (CQL, 'SELECT * FROM TEST_QItem WHERE Name = "apple"', {"a1"}),
]


@pytest.mark.parametrize("language,query,expected", SELECTIONS,
                         ids=[f"{lang}: {q}" for lang, q, _ in SELECTIONS])
def test_queries_select_the_instances_their_condition_holds_for(items, language, query, expected):
    found = items.ExecQuery(language, query)
    assert ids(found) == expected
    assert len(found) == len(expected)  # no instance twice
    for inst in found:
        assert inst.path.namespace == "root/cimv2"
        assert inst.path.keybindings["Id"] == inst["Id"]


PROJECTIONS = [
    (WQL, "SELECT Name, Count FROM TEST_QItem WHERE Count > 20", {"Name", "Count"}),
    (WQL, "SELECT count FROM TEST_QItem WHERE Count > 20", {"Count"}),
    (CQL, "SELECT I.Name, I.Flag FROM TEST_QItem AS I WHERE I.Count > 20", {"Name", "Flag"}),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count > 20", None),
]


@pytest.mark.parametrize("language,query,properties", PROJECTIONS)
def test_the_select_list_is_what_results_carry(items, language, query, properties):
    found = items.ExecQuery(language, query)
    assert {i.path.keybindings["Id"] for i in found} == {"a2", "s1"}
    for inst in found:
        if properties is None:
            assert {"Id", "Name", "Count", "Flag", "Part"} <= set(inst.properties)
        else:
            assert set(inst.properties) == properties


REFUSED = [
    (WQL, "SELECT * FROM TEST_QItem WHERE Nope = 1", 15,
     "'Nope' is not a property of class TEST_QItem at position 32"),
    (WQL, "SELECT Nope FROM TEST_QItem", 15, "position 8"),
    (WQL, "SELECT * FROM TEST_QItem WHERE Part.Weight > 1", 15, "position 37"),
    (WQL, "SELECT * FROM TEST_NoSuchClass", 15, "position 15"),
    (WQL, "SELECT * FROM TEST_QItem WHERE", 15, "position 31"),
    (WQL, "SELECT * TEST_QItem", 15, "position 10"),
    (WQL, "SELECT * FROM TEST_QItem WHERE Name = 'apple", 15, "position 39"),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count = 'ten'", 15, "position 40"),
    (WQL, "SELECT * FROM TEST_QItem WHERE Flag < TRUE", 15, "position 32"),
    (WQL, "SELECT * FROM TEST_QItem WHERE When > 'yesterday'", 15, "position 39"),
    (WQL, "SELECT * FROM TEST_QItem WHERE Tags = 'red'", 15, "position 32"),
    (WQL, "SELECT * FROM TEST_QItem WHERE Count ISA TEST_QPart", 15, "position 32"),
    (CQL, "SELECT * FROM TEST_QItem WHERE Name LIKE '[ab'", 15, "position 42"),
    ("SQL", "SELECT * FROM TEST_QItem", 14, "SQL"),
    ("", "SELECT * FROM TEST_QItem", 4, ""),
    (WQL, "", 4, ""),
]


@pytest.mark.parametrize("language,query,status,detail", REFUSED)
def test_refused_queries_say_why_and_where(items, language, query, status, detail):
    with cim_error(status) as e:
        items.ExecQuery(language, query)
    assert detail in str(e.value)


def test_a_reader_may_query(tarnd, items):
    password = tarnd.add_user("quinn", "reader")
    reader = tarnd.connection("quinn", password)
    assert ids(reader.ExecQuery(WQL, "SELECT Id FROM TEST_QItem WHERE Count = 5")) == {"b1"}
