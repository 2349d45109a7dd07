"""The interop namespace through pywbem's WBEMServer and subscription manager:
the object manager, namespaces, communication mechanisms and registered
profiles tarnd describes itself with, their associations, and namespaces
created and deleted through CIM_Namespace.

The sample provider registers a profile of its own, whose central instances
are its counters in root/cimv2.
"""
import collections
import socket
import subprocess

import pytest

from conftest import BIN_DIR, cim_error, pywbem

SCHEMA = [("../../../examples/providers/TARN_SampleCounter.mof", "root/cimv2")]
MODULES = ["libtarn_sample_provider.so"]
CONF = "[Pull]\nMaxOperationTimeout = 120"
INTEROP = "interop"

if pywbem:
    from pywbem import CIMInstance, CIMInstanceName


@pytest.fixture(scope="module")
def server(conn):
    return pywbem.WBEMServer(conn)


def ident(path):
    """A path without its host, comparable whatever host a server gave it."""
    return (path.classname.lower(), path.namespace,
            tuple(sorted((k.lower(), str(v)) for k, v in path.keybindings.items())))


def classes(paths):
    return collections.Counter(p.classname for p in paths)


def test_the_object_manager_is_tarnd_on_this_host(server):
    assert server.interop_ns == INTEROP
    assert server.brand == "TARN"
    version = subprocess.run([str(BIN_DIR / "tarnd"), "--version"], capture_output=True,
                             text=True, timeout=30).stdout.split()[-1]
    assert server.version == version
    manager = server.cimom_inst
    assert manager["SystemName"] == socket.gethostname()
    (host,) = server.conn.AssociatorNames(manager.path, AssocClass="CIM_HostedService")
    assert (host.classname, host.namespace) == ("CIM_ComputerSystem", INTEROP)
    assert host["Name"] == manager["SystemName"]
    # The subscription manager needs all of the above.
    subscriptions = pywbem.WBEMSubscriptionManager("tarn-test")
    assert subscriptions.add_server(server) == server.conn.url
    subscriptions.remove_server(server.conn.url)


def test_the_communication_mechanism_is_the_adapter_on_this_port(tarnd, server):
    (mechanism,) = server.conn.EnumerateInstances("CIM_ObjectManagerCommunicationMechanism",
                                                  namespace=INTEROP)
    assert mechanism.classname == "CIM_CIMXMLCommunicationMechanism"
    assert mechanism["Name"].endswith(f":{tarnd.port}")
    assert len(mechanism["FunctionalProfilesSupported"]) == \
        len(mechanism["FunctionalProfileDescriptions"]) > 0
    assert mechanism["PulledEnumerationMaximumOperationTimeout"] == 120  # CONF


@pytest.fixture(scope="module")
def counter(conn):
    return conn.CreateInstance(CIMInstance("TARN_SampleCounter", {"Name": "interop"}),
                               namespace="root/cimv2")


@pytest.mark.parametrize("organization,name,central_class,central_namespace", [
    ("DMTF", "Profile Registration", "CIM_RegisteredProfile", INTEROP),
    ("SNIA", "Server", "CIM_ObjectManager", INTEROP),
    ("DMTF", "Indications", "CIM_IndicationService", INTEROP),
    ("Other", "Sample Counter", "TARN_SampleCounter", "root/cimv2"),
])
def test_each_profile_leads_to_its_central_instances(server, counter, organization, name,
                                                      central_class, central_namespace):
    (profile,) = server.get_selected_profiles(organization, name)
    central = server.get_central_instances(profile.path)
    assert [ident(p) for p in central] == \
        [ident(p) for p in server.get_central_instances(profile.path, try_gci_method=True)]
    assert central and {(p.classname, p.namespace) for p in central} == \
        {(central_class, central_namespace)}
    if name == "Server":
        assert [ident(p) for p in central] == [ident(server.cimom_inst.path)]
    if name == "Profile Registration":
        others = {ident(p.path) for p in server.profiles} - {ident(profile.path)}
        assert {ident(p) for p in central} == others
        referencing = server.conn.AssociatorNames(
            profile.path, AssocClass="CIM_ReferencedProfile", ResultRole="Dependent")
        assert {p["InstanceID"] for p in referencing} == {
            server.get_selected_profiles(*other)[0]["InstanceID"]
            for other in [("SNIA", "Server"), ("DMTF", "Indications")]}
    if name == "Sample Counter":
        assert [p["Name"] for p in central] == [counter["Name"]]
        assert profile["OtherRegisteredOrganization"] == "TARN"


@pytest.mark.parametrize("filters,expected", [
    ({}, {"CIM_ComputerSystem": 1, "CIM_Namespace": "all", "CIM_RegisteredProfile": 1,
          "CIM_CIMXMLCommunicationMechanism": 1}),
    ({"AssocClass": "CIM_HostedDependency"}, {"CIM_ComputerSystem": 1, "CIM_Namespace": "all"}),
    ({"ResultClass": "CIM_ServiceAccessPoint"}, {"CIM_CIMXMLCommunicationMechanism": 1}),
    ({"Role": "Dependent"}, {"CIM_ComputerSystem": 1}),
    ({"ResultRole": "ConformantStandard"}, {"CIM_RegisteredProfile": 1}),
])
def test_the_object_manager_s_associations_in_every_form(conn, filters, expected):
    server = pywbem.WBEMServer(conn)  # namespaces as they are now
    manager = server.cimom_inst.path
    expected = {c: len(server.namespaces) if n == "all" else n for c, n in expected.items()}
    names = conn.AssociatorNames(manager, **filters)
    assert classes(names) == expected
    assert sorted(map(ident, names)) == \
        sorted(ident(o.path) for o in conn.Associators(manager, **filters))
    if "ResultClass" not in filters and "ResultRole" not in filters:
        references = conn.ReferenceNames(manager, ResultClass=filters.get("AssocClass"),
                                         Role=filters.get("Role"))
        assert len(references) == len(names)


def test_namespaces_are_created_and_deleted_through_cim_namespace(tarnd, server, conn):
    assert server.create_namespace("root/made") == "root/made"
    assert sorted(server.namespaces) == [INTEROP, "root/cimv2", "root/made"]
    assert {q.name for q in conn.EnumerateQualifiers(namespace="root/made")} == \
        {q.name for q in conn.EnumerateQualifiers(namespace=INTEROP)}
    with cim_error(pywbem.CIM_ERR_ALREADY_EXISTS):
        server.create_namespace("root/made")
    for user, role in (("nina", "reader"), ("ned", "writer")):
        other = tarnd.connection(user, tarnd.add_user(user, role))
        with cim_error(pywbem.CIM_ERR_ACCESS_DENIED):
            other.CreateInstance(CIMInstance("CIM_Namespace", {"Name": "root/theirs"}),
                                 namespace=INTEROP)
        with cim_error(pywbem.CIM_ERR_ACCESS_DENIED):
            other.DeleteInstance(server.namespace_paths[-1])
    with cim_error(pywbem.CIM_ERR_INVALID_PARAMETER):
        conn.CreateInstance(CIMInstance("CIM_Namespace", {"Name": "root/x", "SystemName": "x"}),
                            namespace=INTEROP)

    # A namespace that holds a class is not deleted; the adapter reports
    # CIM_ERR_NAMESPACE_NOT_EMPTY as CIM_ERR_FAILED, naming it.
    server.create_namespace("root/full")
    mof = tarnd.state_dir / "thing.mof"
    mof.write_text("class TEST_Thing { [Key] string Id; };\n")
    tarnd.mof(mof, "root/full")
    assert conn.GetClass("TEST_Thing", namespace="root/full").classname == "TEST_Thing"  # at once

    def path_of(name):
        (path,) = [p for p in pywbem.WBEMServer(conn).namespace_paths if p["Name"] == name]
        return path

    with cim_error(pywbem.CIM_ERR_FAILED) as refused:
        conn.DeleteInstance(path_of("root/full"))
    assert "CIM_ERR_NAMESPACE_NOT_EMPTY" in str(refused.value)

    made = path_of("root/made")
    conn.DeleteInstance(made)
    assert sorted(pywbem.WBEMServer(conn).namespaces) == [INTEROP, "root/cimv2", "root/full"]
    with cim_error(pywbem.CIM_ERR_INVALID_NAMESPACE):
        conn.EnumerateQualifiers(namespace="root/made")
    with cim_error(pywbem.CIM_ERR_NOT_FOUND):
        conn.DeleteInstance(made)


def test_what_describes_the_object_manager_is_read_only(server, conn):
    manager = server.cimom_inst.copy()
    manager["ElementName"] = "Other"
    with cim_error(pywbem.CIM_ERR_NOT_SUPPORTED):
        conn.ModifyInstance(manager, PropertyList=["ElementName"])
    with cim_error(pywbem.CIM_ERR_NOT_SUPPORTED):
        conn.CreateInstance(CIMInstance("CIM_RegisteredProfile", {"InstanceID": "x"}),
                            namespace=INTEROP)
