"""Class, qualifier and property operations through pywbem.

root/cimv2 holds the default schema and the classes of types.mof. pywbem has
no methods of its own for GetProperty and SetProperty, so they go through its
generic intrinsic call.
"""
import pytest

from conftest import cim_error, pywbem

SCHEMA = [("types.mof", "root/cimv2")]
NS = "root/cimv2"

if pywbem:
    from pywbem import CIMInstance, CIMInstanceName, Uint32

ROOTS = {"CIM_ManagedElement", "CIM_Dependency", "TEST_Part", "TEST_AllTypes", "TEST_Link"}
BELOW_ELEMENT = {"CIM_Service", "CIM_ServiceAccessPoint", "CIM_AllocatedLogicalElement",
                 "TARN_ListeningPort"}
ALL_BELOW_ELEMENT = BELOW_ELEMENT | {"TARN_Service", "CIM_System", "CIM_ComputerSystem",
                                     "TARN_ComputerSystem"}
# The default schema's 19 classes of root/cimv2 and the 4 of types.mof.
CLASS_COUNT = 23


def lower(names):
    return {n.lower() for n in names}


@pytest.mark.parametrize("classname,deep,expected", [
    (None, False, ROOTS),
    ("CIM_EnabledLogicalElement", False, BELOW_ELEMENT),
    ("cim_enabledlogicalelement", True, ALL_BELOW_ELEMENT),
    ("TARN_Service", True, set()),
])
def test_names_and_classes_list_the_same_subclasses(conn, classname, deep, expected):
    names = conn.EnumerateClassNames(ClassName=classname, DeepInheritance=deep)
    classes = conn.EnumerateClasses(ClassName=classname, DeepInheritance=deep)
    assert lower(names) == lower(expected)
    assert [c.classname for c in classes] == names


def test_every_class_comes_once_after_its_superclass(conn):
    classes = conn.EnumerateClasses(DeepInheritance=True)
    seen = set()
    for cls in classes:
        assert cls.superclass is None or cls.superclass.lower() in seen, cls.classname
        seen.add(cls.classname.lower())
    assert len(seen) == len(classes) == CLASS_COUNT
    assert lower(conn.EnumerateClassNames(DeepInheritance=True)) == seen


def test_flags_shape_each_class(conn):
    def service(**flags):
        found = [c for c in conn.EnumerateClasses(ClassName="CIM_Service", **flags)
                 if c.classname == "TARN_Service"]
        assert len(found) == 1
        return found[0]

    local = service()  # LocalOnly and IncludeQualifiers are true by default
    assert set(local.properties) == {"ExecutablePath", "ProcessID", "RestartCount", "Priority",
                                     "MemoryLimit"}
    assert local.properties["Priority"].qualifiers["Write"].value is True
    assert local.properties["Priority"].class_origin is None
    everything = service(LocalOnly=False, IncludeQualifiers=False, IncludeClassOrigin=True)
    assert {"Name", "Caption", "ExecutablePath"} <= set(everything.properties)
    assert everything.properties["Name"].class_origin == "CIM_Service"
    assert everything.properties["Priority"].class_origin == "TARN_Service"
    assert not everything.qualifiers and not everything.properties["Priority"].qualifiers


def test_qualifier_declarations_of_the_default_schema(conn):
    names = {q.name for q in conn.EnumerateQualifiers()}
    assert len(names) == 57
    assert {"Key", "Description", "EmbeddedInstance", "Override", "TARN_ReferenceKey"} <= names
    key = conn.GetQualifier("key")
    assert (key.name, key.type, key.value) == ("Key", "boolean", False)
    assert (key.overridable, key.tosubclass) == (False, True)
    assert {s for s, on in key.scopes.items() if on} == {"PROPERTY", "REFERENCE"}
    mapping = conn.GetQualifier("MappingStrings")
    assert (mapping.type, mapping.is_array, mapping.value) == ("string", True, None)


def service_path(name="tarn-cimxml"):
    return CIMInstanceName("TARN_Service", namespace=NS, keybindings={
        "SystemCreationClassName": "TARN_ComputerSystem", "SystemName": "tarn-example.local",
        "CreationClassName": "TARN_Service", "Name": name})


def local(path):
    """The name as an INSTANCENAME, which is what the operations take."""
    name = path.copy()
    name.namespace = name.host = None
    return name


def get_property(conn, path, name):
    """The property's value as pywbem reads the IRETURNVALUE: None when empty."""
    reply = conn._imethodcall("GetProperty", path.namespace, InstanceName=local(path),
                              PropertyName=name)
    assert len(reply) == 1 and reply[0][0] == "IRETURNVALUE", reply
    content = reply[0][2]
    assert len(content) <= 1, content
    return content[0] if content else None


def set_property(conn, path, name, value=None):
    conn._imethodcall("SetProperty", path.namespace, has_return_value=False,
                      InstanceName=local(path), PropertyName=name, NewValue=value)


def test_set_property_changes_one_property(conn):
    path = service_path()
    set_property(conn, path, "Priority", -7)
    assert get_property(conn, path, "priority") == "-7"
    got = conn.GetInstance(path)
    assert (got["Priority"], got["ExecutablePath"]) == (-7, "/usr/sbin/tarnd")
    set_property(conn, path, "Priority")  # no NewValue: NULL
    assert get_property(conn, path, "Priority") is None
    assert conn.GetInstance(path)["Priority"] is None


def test_array_properties_null_and_set(conn):
    path = conn.CreateInstance(CIMInstance("TEST_AllTypes", properties={"Id": "arrays"}))
    assert get_property(conn, path, "Texts") is None
    set_property(conn, path, "Texts", ["a", "b <&>"])
    assert conn.GetInstance(path)["Texts"] == ["a", "b <&>"]
    set_property(conn, path, "Texts", [])
    assert conn.GetInstance(path)["Texts"] == []
    set_property(conn, path, "Texts")
    assert conn.GetInstance(path).get("Texts") is None


def test_embedded_instances_are_set_from_their_cim_xml_text(conn):
    path = conn.CreateInstance(CIMInstance("TEST_AllTypes", properties={"Id": "embedded"}))
    parts = [CIMInstance("TEST_Part", properties={"Id": f"p{i}", "Size": Uint32(i)})
             for i in (1, 2)]
    set_property(conn, path, "Parts", [p.tocimxmlstr() for p in parts])
    got = conn.GetInstance(path)["Parts"]
    assert [(p.classname, p["Id"], p["Size"]) for p in got] == \
        [("TEST_Part", "p1", 1), ("TEST_Part", "p2", 2)]
    with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
        set_property(conn, path, "Parts", ["<INSTANCE CLASSNAME="])


@pytest.mark.parametrize("what,call,status", [
    ("an unknown class", lambda c: c.EnumerateClasses(ClassName="TEST_Nothing"),
     "CIM_ERR_INVALID_CLASS"),
    ("an unknown class", lambda c: c.GetClass("TEST_Nothing"), "CIM_ERR_NOT_FOUND"),
    ("an unknown namespace", lambda c: c.EnumerateClassNames(namespace="root/nowhere"),
     "CIM_ERR_INVALID_NAMESPACE"),
    ("an unknown qualifier", lambda c: c.GetQualifier("NoSuchQualifier"), "CIM_ERR_NOT_FOUND"),
    ("an unknown property", lambda c: set_property(c, service_path(), "Colour", "red"),
     "CIM_ERR_NO_SUCH_PROPERTY"),
    ("a value of another type", lambda c: set_property(c, service_path(), "Priority", "high"),
     "CIM_ERR_TYPE_MISMATCH"),
    ("an array for one value", lambda c: set_property(c, service_path(), "Priority", [1]),
     "CIM_ERR_TYPE_MISMATCH"),
    ("a key property", lambda c: set_property(c, service_path(), "Name", "other"),
     "CIM_ERR_INVALID_PARAMETER"),
    ("a missing instance", lambda c: get_property(c, service_path("sshd"), "Priority"),
     "CIM_ERR_NOT_FOUND"),
    ("an unknown class", lambda c: get_property(
        c, CIMInstanceName("TEST_Nothing", namespace=NS, keybindings={"Id": "x"}), "Id"),
     "CIM_ERR_INVALID_CLASS"),
])
def test_errors_carry_their_status(conn, what, call, status):
    with cim_error(getattr(pywbem, status)):
        call(conn)


def test_a_reader_reads_but_does_not_write(tarnd, conn):
    reader = tarnd.connection("viewer", tarnd.add_user("viewer", "reader"))
    assert get_property(reader, service_path(), "ExecutablePath") == "/usr/sbin/tarnd"
    assert "TARN_Service" in reader.EnumerateClassNames(ClassName="CIM_Service")
    path = conn.CreateInstance(CIMInstance("TEST_AllTypes", properties={"Id": "read-me"}))
    assert reader.GetInstance(path)["Id"] == "read-me"
    for write in (lambda: set_property(reader, service_path(), "Priority", 1),
                  lambda: reader.DeleteInstance(path)):
        with cim_error(pywbem.CIM_ERR_ACCESS_DENIED):
            write()
