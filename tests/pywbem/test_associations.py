"""Association traversal through pywbem: Associators, AssociatorNames,
References and ReferenceNames on instances and on classes, on the default
schema's model (a computer system, its services and their ports) and on a
test model with an association subclass; and association paths used exactly
as the server returned them."""
import pytest

from conftest import cim_error, pywbem

SCHEMA = [("associations.mof", "root/cimv2")]

if pywbem:
    from pywbem import CIMClassName, CIMInstance, CIMInstanceName, Uint32

NS = "root/cimv2"


def node(node_id, namespace=None, cls="TEST_Node"):
    return CIMInstanceName(cls, keybindings={"Id": node_id}, namespace=namespace)


def short(path):
    """A path as the tables below write it: a node by its Id, a system,
    service or port by its name, an association as Class(end,end), a class by
    its name."""
    if isinstance(path, CIMClassName):
        return path.classname
    keys = path.keybindings
    cls = path.classname
    if "Id" in keys:
        return keys["Id"]
    if "Port" in keys:
        return f"port{keys['Port']}"
    if "Name" in keys:
        return keys["Name"]
    ends = ",".join(short(v) for v in keys.values() if isinstance(v, CIMInstanceName))
    return f"{cls.split('_', 1)[1]}({ends})"


# The default schema's example instances.
SYSTEM = {"CreationClassName": "TARN_ComputerSystem", "Name": "tarn-example.local"}


def service(name):
    return CIMInstanceName("TARN_Service", namespace=NS, keybindings={
        "SystemCreationClassName": "TARN_ComputerSystem", "SystemName": "tarn-example.local",
        "CreationClassName": "TARN_Service", "Name": name})


def port(number):
    return CIMInstanceName("TARN_ListeningPort", namespace=NS, keybindings={
        "Address": "127.0.0.1", "Port": pywbem.Uint16(number), "Transport": pywbem.Uint16(6)})


@pytest.fixture(scope="module")
def model(conn):
    """The test model's instances, and the paths of all sources by short name.

    Connects(a,b), Connects(b,c), Feeds(c,a) (a subclass of Connects),
    Manages(s,a) and Manages(s,b); s is a TEST_Server, the others TEST_Node.
    References in Connects and Feeds leave their namespace out; the server
    fills it in."""
    for node_id in "abc":
        conn.CreateInstance(CIMInstance("TEST_Node", {"Id": node_id, "Label": node_id.upper()}))
    conn.CreateInstance(CIMInstance("TEST_Server", {"Id": "s", "Label": "S", "Cores": Uint32(8)}))
    links = [("TEST_Connects", "a", "b", {}), ("TEST_Connects", "b", "c", {}),
             ("TEST_Feeds", "c", "a", {"Rate": Uint32(5)})]
    for cls, src, dst, more in links:
        path = conn.CreateInstance(CIMInstance(
            cls, dict({"From": node(src), "To": node(dst), "Kind": "wire"}, **more)))
        assert path.classname == cls
        assert path["From"].namespace == NS
    for managed in "ab":
        conn.CreateInstance(CIMInstance("TEST_Manages", {
            "Manager": node("s", NS, "TEST_Server"), "Managed": node(managed, NS)}))
    sources = {n: node(n, NS) for n in "abc"}
    sources["s"] = node("s", NS, "TEST_Server")
    sources["tarn-example.local"] = CIMInstanceName("TARN_ComputerSystem", SYSTEM, namespace=NS)
    sources["tarn-cimxml"] = service("tarn-cimxml")
    sources["port5989"] = port(5989)
    return sources


# (source, filters, the objects associated, by short name)
ASSOCIATORS = [
    ("a", {}, ["b", "c", "s"]),
    ("a", {"AssocClass": "TEST_Connects"}, ["b", "c"]),
    ("a", {"AssocClass": "TEST_Feeds"}, ["c"]),
    ("a", {"ResultClass": "TEST_Server"}, ["s"]),
    ("a", {"ResultClass": "TEST_Node"}, ["b", "c", "s"]),
    ("a", {"Role": "From"}, ["b"]),
    ("a", {"Role": "To"}, ["c"]),
    ("a", {"ResultRole": "Manager"}, ["s"]),
    ("a", {"ResultRole": "To"}, ["b"]),
    ("a", {"AssocClass": "TEST_Connects", "ResultClass": "TEST_Node", "Role": "To",
           "ResultRole": "From"}, ["c"]),
    ("a", {"AssocClass": "TEST_Manages", "Role": "From"}, []),
    ("a", {"AssocClass": "TEST_NoSuchClass"}, []),
    ("s", {}, ["a", "b"]),
    ("s", {"Role": "Managed"}, []),
    ("tarn-example.local", {}, ["tarn-cimxml", "tarn-indications"]),
    ("tarn-cimxml", {}, ["port5988", "port5989", "tarn-example.local"]),
    ("tarn-cimxml", {"ResultClass": "TARN_ListeningPort"}, ["port5988", "port5989"]),
    ("tarn-cimxml", {"AssocClass": "CIM_HostedService"}, ["tarn-example.local"]),
    ("tarn-cimxml", {"Role": "Dependent", "ResultRole": "Antecedent"}, ["tarn-example.local"]),
    ("port5989", {"ResultClass": "CIM_Service", "Role": "Dependent"}, ["tarn-cimxml"]),
]

# (source, filters, the associations that refer to it)
REFERENCES = [
    ("a", {}, ["Connects(a,b)", "Feeds(c,a)", "Manages(s,a)"]),
    ("a", {"ResultClass": "TEST_Connects"}, ["Connects(a,b)", "Feeds(c,a)"]),
    ("a", {"ResultClass": "TEST_Feeds"}, ["Feeds(c,a)"]),
    ("a", {"Role": "From"}, ["Connects(a,b)"]),
    ("a", {"ResultClass": "TEST_Connects", "Role": "To"}, ["Feeds(c,a)"]),
    ("s", {"Role": "Manager"}, ["Manages(s,a)", "Manages(s,b)"]),
    ("tarn-example.local", {},
     ["HostedService(tarn-example.local,tarn-cimxml)",
      "HostedService(tarn-example.local,tarn-indications)"]),
    ("tarn-cimxml", {"ResultClass": "CIM_Dependency", "Role": "Antecedent"},
     ["ServiceListeningPort(tarn-cimxml,port5988)", "ServiceListeningPort(tarn-cimxml,port5989)"]),
]


@pytest.mark.parametrize("source,filters,expected", ASSOCIATORS)
def test_associators_of_an_instance(conn, model, source, filters, expected):
    names = conn.AssociatorNames(model[source], **filters)
    assert sorted(short(n) for n in names) == expected
    objects = conn.Associators(model[source], **filters)
    assert sorted(short(o.path) for o in objects) == expected
    for o in objects:
        assert o.path.namespace == NS and o.path.host
        assert dict(conn.GetInstance(o.path).items()) == dict(o.items())


@pytest.mark.parametrize("source,filters,expected", REFERENCES)
def test_references_of_an_instance(conn, model, source, filters, expected):
    names = conn.ReferenceNames(model[source], **filters)
    assert sorted(short(n) for n in names) == expected
    objects = conn.References(model[source], **filters)
    assert sorted(short(o.path) for o in objects) == expected
    for o in objects:
        # Each refers to the source, through Role when it is given.
        refs = {k: v for k, v in o.items() if isinstance(v, CIMInstanceName)}
        through = [k for k, v in refs.items() if short(v) == source]
        assert through and (not filters.get("Role") or filters["Role"] in through)


def test_property_list_and_class_origin_shape_the_objects(conn, model):
    [server] = conn.Associators(model["a"], ResultClass="TEST_Server", PropertyList=["Cores"],
                                IncludeClassOrigin=True)
    assert list(server.properties) == ["Cores"]
    assert server["Cores"] == 8 and server.properties["Cores"].class_origin == "TEST_Server"
    [node_b] = conn.Associators(model["a"], Role="From")
    assert node_b["Label"] == "B" and node_b.properties["Label"].class_origin is None
    [feeds] = conn.References(model["a"], ResultClass="TEST_Feeds", PropertyList=["Rate", "From"],
                              IncludeClassOrigin=True)
    assert [(p.name, p.class_origin) for p in feeds.properties.values()] == [
        ("Rate", "TEST_Feeds"), ("From", "TEST_Connects")]
    bare = conn.Associators(model["tarn-example.local"], PropertyList=[])
    assert len(bare) == 2 and all(not o.properties for o in bare)


# (source class, filters, the classes associated)
CLASS_ASSOCIATORS = [
    ("TEST_Node", {}, ["TEST_Node", "TEST_Server"]),
    ("TEST_Node", {"ResultRole": "Manager"}, ["TEST_Server"]),
    ("TEST_Node", {"AssocClass": "TEST_Feeds"}, ["TEST_Node"]),
    ("TEST_Server", {"Role": "Manager"}, ["TEST_Node"]),
    ("TEST_Server", {"AssocClass": "TEST_Manages", "ResultClass": "TEST_Server"}, ["TEST_Server"]),
    ("TARN_ComputerSystem", {"AssocClass": "TARN_HostedService"}, ["TARN_Service"]),
    ("TARN_Service", {"ResultClass": "TARN_ListeningPort"}, ["TARN_ListeningPort"]),
]

# (source class, filters, the association classes that refer to it)
CLASS_REFERENCES = [
    ("TEST_Node", {}, ["TEST_Connects", "TEST_Feeds", "TEST_Manages"]),
    ("TEST_Node", {"ResultClass": "TEST_Connects"}, ["TEST_Connects", "TEST_Feeds"]),
    ("TEST_Node", {"Role": "Manager"}, []),
    ("TEST_Server", {"Role": "Manager"}, ["TEST_Manages"]),
    ("TARN_ListeningPort", {},
     ["CIM_Dependency", "CIM_HostedDependency", "TARN_ServiceListeningPort"]),
]


@pytest.mark.parametrize("source,filters,expected", CLASS_ASSOCIATORS)
def test_associators_of_a_class(conn, source, filters, expected):
    names = conn.AssociatorNames(CIMClassName(source, namespace=NS), **filters)
    assert sorted(n.classname for n in names) == expected
    assert all(n.namespace == NS and n.host for n in names)
    classes = conn.Associators(CIMClassName(source, namespace=NS), IncludeQualifiers=True,
                               **filters)
    assert sorted(path.classname for path, _ in classes) == expected
    for path, cls in classes:
        # Written without qualifiers and with their own elements only,
        # whatever the request asked.
        assert cls.classname == path.classname and not cls.qualifiers
        assert all(p.class_origin in (None, cls.classname) for p in cls.properties.values())


@pytest.mark.parametrize("source,filters,expected", CLASS_REFERENCES)
def test_references_of_a_class(conn, source, filters, expected):
    names = conn.ReferenceNames(CIMClassName(source, namespace=NS), **filters)
    assert sorted(n.classname for n in names) == expected
    classes = conn.References(CIMClassName(source, namespace=NS), **filters)
    assert sorted(path.classname for path, _ in classes) == expected


def test_a_class_result_holds_its_local_properties(conn):
    [(_, server)] = conn.Associators(CIMClassName("TEST_Node", namespace=NS),
                                     ResultRole="Manager", IncludeClassOrigin=True)
    assert list(server.properties) == ["Cores"]
    [(_, feeds)] = conn.References(CIMClassName("TEST_Server", namespace=NS),
                                   ResultClass="TEST_Feeds")
    assert list(feeds.properties) == ["Rate"]


@pytest.mark.parametrize("cls", ["TARN_HostedService", "TARN_ServiceListeningPort",
                                 "TEST_Connects", "TEST_Manages"])
def test_association_paths_as_enumerated_name_their_instances(conn, model, cls):
    names = conn.EnumerateInstanceNames(cls)
    assert names
    for name in names:
        ends = [v for v in name.keybindings.values() if isinstance(v, CIMInstanceName)]
        assert ends and all(e.host and e.namespace == NS for e in ends)
        got = conn.GetInstance(name)
        assert [got[k] for k in name.keys()] == list(name.values())


def test_a_reference_names_the_same_instance_with_any_host_or_none(conn, model):
    path = conn.EnumerateInstanceNames("TEST_Manages")[0]
    for host in (None, "elsewhere.example", path["Manager"].host.upper()):
        other = path.copy()
        for key in ("Manager", "Managed"):
            other[key] = path[key].copy()
            other[key].host = host
        got = conn.GetInstance(other)
        assert (got["Manager"], got["Managed"]) == (path["Manager"], path["Managed"])
    # Without the namespace, which is the request's.
    other = path.copy()
    other["Managed"] = CIMInstanceName("TEST_Node", {"Id": path["Managed"]["Id"]})
    assert conn.GetInstance(other)["Managed"] == path["Managed"]


def test_deleting_an_association_by_its_enumerated_path(conn, model):
    conn.CreateInstance(CIMInstance("TEST_Connects", {"From": node("c"), "To": node("s", None,
                                                                               "TEST_Server")}))
    [path] = [n for n in conn.EnumerateInstanceNames("TEST_Connects")
              if short(n) == "Connects(c,s)"]
    assert "Connects(c,s)" in [short(n) for n in conn.ReferenceNames(model["s"])]
    conn.DeleteInstance(path)
    with cim_error(pywbem.CIM_ERR_NOT_FOUND):
        conn.GetInstance(path)
    assert "Connects(c,s)" not in [short(n) for n in conn.ReferenceNames(model["s"])]
    assert sorted(short(n) for n in conn.AssociatorNames(model["c"])) == ["a", "b"]


def test_an_end_that_no_longer_exists_is_skipped(conn, model):
    for node_id in ("d", "e"):
        conn.CreateInstance(CIMInstance("TEST_Node", {"Id": node_id}))
    conn.CreateInstance(CIMInstance("TEST_Connects", {"From": node("d"), "To": node("e")}))
    conn.DeleteInstance(node("e"))
    assert [short(n) for n in conn.AssociatorNames(node("d"))] == ["e"]
    assert conn.Associators(node("d")) == []
    assert [short(n) for n in conn.ReferenceNames(node("d"))] == ["Connects(d,e)"]


def test_sources_that_cannot_be_followed(conn, model):
    assert conn.AssociatorNames(node("nobody")) == []
    with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
        conn.AssociatorNames(CIMInstanceName("TEST_Nothing", {"Id": "x"}))
    with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
        conn.References(CIMInstanceName("TEST_Node", {"Nope": "x"}))
