"""Classes loaded with tarn-mof while tarnd runs are served at once."""
import pytest

from conftest import pywbem


def test_a_class_loaded_into_the_running_server_is_served_at_once(tarnd, conn, tmp_path):
    with pytest.raises(pywbem.CIMError):
        conn.GetClass("TEST_Late")
    mof = tmp_path / "late.mof"
    mof.write_text('class TEST_Late { [Key] string Id; uint16 Level; };\n'
                   'class TEST_Later : TEST_Late { string More; };\n'
                   '#pragma namespace("root/late")\n'
                   'Qualifier Key : boolean = false, Scope(property, reference),\n'
                   '    Flavor(DisableOverride, ToSubclass);\n'
                   'class TEST_Elsewhere { [Key] string Id; };\n')
    tarnd.mof(mof)
    cls = conn.GetClass("TEST_Late", LocalOnly=False)
    assert set(cls.properties) == {"Id", "Level"}
    conn.CreateInstance(pywbem.CIMInstance("TEST_Later", properties={"Id": "a", "More": "m"}))
    assert [i["More"] for i in conn.EnumerateInstances("TEST_Late")] == ["m"]
    assert conn.EnumerateInstanceNames("TEST_Elsewhere", namespace="root/late") == []
