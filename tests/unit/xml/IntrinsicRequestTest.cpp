// Every intrinsic operation, in the request forms that common CIM-XML clients
// send, and the message accessors.
#include <gtest/gtest.h>

#include <functional>

#include "RequestBuilder.h"
#include "tarn/IQualifierDef.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaClass.h"
#include "vela/CVelaType.h"
#include "vela/IVelaClass.h"
#include "vela/VELCIMStrings.h"

using namespace xmltest;
using S = VELCIMStrings;

namespace {

const std::string kComputerSystemName =
    "<INSTANCENAME CLASSNAME=\"CIM_ComputerSystem\">"
    "<KEYBINDING NAME=\"CreationClassName\"><KEYVALUE VALUETYPE=\"string\">CIM_ComputerSystem"
    "</KEYVALUE></KEYBINDING>"
    "<KEYBINDING NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">host1.example.com</KEYVALUE>"
    "</KEYBINDING></INSTANCENAME>";

const std::string kPropertyList =
    "<VALUE.ARRAY><VALUE>Name</VALUE><VALUE>ElementName</VALUE></VALUE.ARRAY>";

std::string flag(std::string_view name, bool v) {
    return iparam(name, v ? "<VALUE>TRUE</VALUE>" : "<VALUE>FALSE</VALUE>");
}

VELSmrPtr<IVelaValue> valueOf(const VELCIMMethodCall& c, const VELString& name) {
    VELSmrPtr<VELCIMParamValue> p = c.getParameterByName(name);
    if (p.isNull()) {
        ADD_FAILURE() << "no parameter " << name;
        return nullptr;
    }
    return p->getValue();
}

void expectUntyped(const VELCIMMethodCall& c, const VELString& name, const char* text) {
    VELSmrPtr<IVelaValue> v = valueOf(c, name);
    ASSERT_FALSE(v.isNull()) << name;
    EXPECT_TRUE(v->isUntyped()) << name;
    EXPECT_EQ(v->getString(), text) << name;
    EXPECT_EQ(c.getParameterValueByName(name), text) << name;
}

void expectClassName(const VELCIMMethodCall& c, const VELString& name, const char* cls) {
    VELSmrPtr<IVelaValue> v = valueOf(c, name);
    ASSERT_FALSE(v.isNull()) << name;
    ASSERT_TRUE(v->getType()->isReference()) << name;
    EXPECT_TRUE(v->getReference()->isClassName()) << name;
    EXPECT_EQ(v->getReference()->getClassName(), cls) << name;
    EXPECT_EQ(c.getParameterValueByName(name), cls) << name;
}

void expectPropertyList(const VELCIMMethodCall& c) {
    VELSmrPtr<IVelaValue> v = valueOf(c, S::PROPERTYLIST);
    ASSERT_FALSE(v.isNull());
    ASSERT_TRUE(v->getType()->isArray());
    EXPECT_TRUE(v->isUntyped());
    auto list = v->getArray();
    ASSERT_EQ(list->entries(), 2u);
    EXPECT_EQ(list->at(0)->getString(), "Name");
    EXPECT_EQ(list->at(1)->getString(), "ElementName");
}

void expectComputerSystem(const VELSmrPtr<IVelaInstanceName>& name) {
    ASSERT_FALSE(name.isNull());
    EXPECT_FALSE(name->isClassName());
    EXPECT_EQ(name->getClassName(), "CIM_ComputerSystem");
    ASSERT_EQ(name->getKeyBindingCount(), 2u);
    EXPECT_EQ(name->getKeyBinding(1)->getPropertyName(), "Name");
    const auto& key = name->getKeyBinding(1)->getValue();
    EXPECT_TRUE(key->isUntyped());
    EXPECT_EQ(key->getTypeHint(), "string");
    EXPECT_EQ(key->getString(), "host1.example.com");
    EXPECT_EQ(name->toString(),
              "CIM_ComputerSystem.creationclassname=\"CIM_ComputerSystem\",name=\"host1.example."
              "com\"");
}

void expectReference(const VELCIMMethodCall& c, const VELString& name) {
    VELSmrPtr<IVelaValue> v = valueOf(c, name);
    ASSERT_FALSE(v.isNull());
    ASSERT_TRUE(v->getType()->isReference());
    expectComputerSystem(v->getReference());
}

struct IntrinsicCase {
    const char* method;
    std::string params;
    std::size_t paramCount;
    std::function<void(const VELCIMMethodCall&)> check;
};

std::vector<IntrinsicCase> intrinsicCases() {
    const std::string newInstance =
        "<INSTANCE CLASSNAME=\"TST_Person\">"
        "<PROPERTY NAME=\"Name\" TYPE=\"string\"><VALUE>Alice &amp; Bob</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Age\" TYPE=\"uint8\"><VALUE>42</VALUE></PROPERTY>"
        "<PROPERTY NAME=\"Comment\" TYPE=\"string\"></PROPERTY>"
        "<PROPERTY.ARRAY NAME=\"Scores\" TYPE=\"sint32\"><VALUE.ARRAY><VALUE>-1</VALUE>"
        "<VALUE.NULL/><VALUE>7</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"
        "<PROPERTY.REFERENCE NAME=\"Host\" REFERENCECLASS=\"CIM_ComputerSystem\">"
        "<VALUE.REFERENCE>" +
        kComputerSystemName +
        "</VALUE.REFERENCE></PROPERTY.REFERENCE>"
        "</INSTANCE>";
    const std::string personName =
        "<INSTANCENAME CLASSNAME=\"TST_Person\"><KEYBINDING NAME=\"Name\">"
        "<KEYVALUE VALUETYPE=\"string\">Alice</KEYVALUE></KEYBINDING></INSTANCENAME>";
    const std::string newClass =
        "<CLASS NAME=\"TST_Person\" SUPERCLASS=\"CIM_ManagedElement\">"
        "<QUALIFIER NAME=\"Description\" TYPE=\"string\" TRANSLATABLE=\"true\">"
        "<VALUE>A person</VALUE></QUALIFIER>"
        "<PROPERTY NAME=\"Name\" TYPE=\"string\"><QUALIFIER NAME=\"Key\" TYPE=\"boolean\" "
        "OVERRIDABLE=\"false\"><VALUE>TRUE</VALUE></QUALIFIER></PROPERTY>"
        "<PROPERTY NAME=\"Caption\" TYPE=\"string\" CLASSORIGIN=\"CIM_ManagedElement\" "
        "PROPAGATED=\"true\"/>"
        "<PROPERTY.ARRAY NAME=\"Scores\" TYPE=\"uint16\" ARRAYSIZE=\"3\"/>"
        "<PROPERTY.REFERENCE NAME=\"Home\" REFERENCECLASS=\"TST_House\"/>"
        "<METHOD NAME=\"Greet\" TYPE=\"uint32\"><PARAMETER NAME=\"Whom\" TYPE=\"string\">"
        "<QUALIFIER NAME=\"In\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER></PARAMETER>"
        "<PARAMETER.REFERENCE NAME=\"Where\" REFERENCECLASS=\"TST_House\"/>"
        "<PARAMETER.ARRAY NAME=\"Times\" TYPE=\"datetime\"/>"
        "<PARAMETER.REFARRAY NAME=\"Others\" REFERENCECLASS=\"TST_Person\"/>"
        "</METHOD></CLASS>";
    auto checkClass = [](const VELCIMMethodCall& c, const VELString& param) {
        VELSmrPtr<IVelaValue> v = valueOf(c, param);
        ASSERT_FALSE(v.isNull());
        ASSERT_TRUE(v->getType()->isClass());
        VELSmrPtr<IVelaClass> cls = v->getClass();
        EXPECT_EQ(cls->getName(), "TST_Person");
        EXPECT_EQ(cls->getSuperClassName(), "CIM_ManagedElement");
        auto d = cls->getQualifier("Description");
        ASSERT_FALSE(d.isNull());
        EXPECT_EQ(d->getValue()->getString(), "A person");
        EXPECT_EQ(d->getFlavor(), tarn::QualifierFlavor::Translatable);
        // The propagated Caption belongs to the superclass, not to this class.
        auto* c2 = dynamic_cast<const CVelaClass*>(cls.get());
        ASSERT_NE(c2, nullptr);
        ASSERT_EQ(c2->localProperties().size(), 3u);
        EXPECT_EQ(c2->localProperties()[0]->getQualifier("Key")->getFlavor(),
                  tarn::QualifierFlavor::DisableOverride);
        EXPECT_EQ(c2->localProperties()[1]->getArraySize(), 3u);
        EXPECT_TRUE(c2->localProperties()[1]->getType()->isArray());
        EXPECT_EQ(c2->localProperties()[2]->getType()->getReferenceClassName(), "TST_House");
        ASSERT_EQ(c2->localMethods().size(), 1u);
        auto m = c2->localMethods()[0];
        EXPECT_EQ(m->getReturnType()->getTypeId(), CIMTypeId::UInt32);
        auto params = m->getParameters();
        std::vector<std::string> shapes;
        while (params->hasNext()) {
            auto p = params->next();
            shapes.push_back(p->getName().str() + ":" + p->getType()->getName().str() +
                             (p->getType()->isArray() ? "[]" : "") +
                             p->getType()->getReferenceClassName().str());
        }
        EXPECT_EQ(shapes,
                  (std::vector<std::string>{"Whom:string", "Where:referenceTST_House",
                                            "Times:datetime[]", "Others:reference[]TST_Person"}));
        EXPECT_FALSE(m->getParameter("Whom")->getQualifier("In").isNull());
    };

    return {
        {"GetClass",
         iparam("ClassName", "<CLASSNAME NAME=\"CIM_ComputerSystem\"/>") +
             flag("LocalOnly", false) + flag("IncludeQualifiers", true) +
             flag("IncludeClassOrigin", false) + iparam("PropertyList", kPropertyList),
         5,
         [](const VELCIMMethodCall& c) {
             expectClassName(c, S::CLASSNAME, "CIM_ComputerSystem");
             expectUntyped(c, S::LOCALONLY, "FALSE");
             expectUntyped(c, S::INCLUDEQUALIFIERS, "TRUE");
             expectPropertyList(c);
         }},
        {"EnumerateClasses",
         iparam("ClassName", "<CLASSNAME NAME=\"CIM_ManagedElement\"/>") +
             flag("DeepInheritance", true) + flag("LocalOnly", true) +
             flag("IncludeQualifiers", true) + flag("IncludeClassOrigin", false),
         5,
         [](const VELCIMMethodCall& c) {
             expectClassName(c, S::CLASSNAME, "CIM_ManagedElement");
             expectUntyped(c, S::DEEPINHERITANCE, "TRUE");
         }},
        {"EnumerateClassNames", flag("DeepInheritance", false), 1,
         [](const VELCIMMethodCall& c) {
             EXPECT_TRUE(c.getParameterByName(S::CLASSNAME).isNull());
             EXPECT_TRUE(c.getParameterValueByName(S::CLASSNAME).isNull());
             expectUntyped(c, S::DEEPINHERITANCE, "FALSE");
         }},
        {"GetInstance",
         iparam("InstanceName", kComputerSystemName) + flag("LocalOnly", false) +
             flag("IncludeQualifiers", false) + iparam("PropertyList", kPropertyList),
         4,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::INSTANCENAME);
             expectPropertyList(c);
         }},
        {"EnumerateInstances",
         iparam("ClassName", "<CLASSNAME NAME=\"CIM_ComputerSystem\"/>") +
             flag("DeepInheritance", true) + flag("LocalOnly", false) +
             flag("IncludeQualifiers", false) + flag("IncludeClassOrigin", false) +
             iparam("PropertyList", "<VALUE.ARRAY></VALUE.ARRAY>"),
         6,
         [](const VELCIMMethodCall& c) {
             expectClassName(c, S::CLASSNAME, "CIM_ComputerSystem");
             // An empty property list is a list without entries, not a null one.
             VELSmrPtr<IVelaValue> v = valueOf(c, S::PROPERTYLIST);
             ASSERT_FALSE(v.isNull());
             EXPECT_TRUE(v->isSet());
             EXPECT_EQ(v->getArraySize(), 0u);
         }},
        {"EnumerateInstanceNames", iparam("ClassName", "<CLASSNAME NAME=\"CIM_ComputerSystem\"/>"),
         1,
         [](const VELCIMMethodCall& c) { expectClassName(c, S::CLASSNAME, "CIM_ComputerSystem"); }},
        {"CreateInstance", iparam("NewInstance", newInstance), 1,
         [](const VELCIMMethodCall& c) {
             VELSmrPtr<IVelaValue> v = valueOf(c, S::NEWINSTANCE);
             ASSERT_FALSE(v.isNull());
             ASSERT_TRUE(v->getType()->isEmbeddedObject());
             VELSmrPtr<IVelaObject> i = v->getObject();
             EXPECT_EQ(i->getClassName(), "TST_Person");
             EXPECT_TRUE(i->getPath().isNull());
             ASSERT_EQ(i->getPropertyCount(), 5u);
             EXPECT_EQ(i->getProperty("name")->getValue()->getString(), "Alice & Bob");
             EXPECT_EQ(i->getProperty("Age")->getValue()->getUnsigned(), 42u);
             EXPECT_EQ(i->getProperty("Age")->getType()->getTypeId(), CIMTypeId::UInt8);
             auto comment = i->getProperty("Comment");
             EXPECT_EQ(comment->getType()->getTypeId(), CIMTypeId::String);
             EXPECT_FALSE(comment->getValue()->isSet());
             EXPECT_EQ(text(i->getProperty("Scores")->getValue()), "{-1,NULL,7}");
             auto host = i->getProperty("Host");
             EXPECT_EQ(host->getType()->getReferenceClassName(), "CIM_ComputerSystem");
             expectComputerSystem(host->getValue()->getReference());
         }},
        {"ModifyInstance",
         iparam("ModifiedInstance",
                "<VALUE.NAMEDINSTANCE>" + personName + "<INSTANCE CLASSNAME=\"TST_Person\">" +
                    property("Name", "string", "Alice") + property("Age", "uint8", "43") +
                    "</INSTANCE></VALUE.NAMEDINSTANCE>") +
             flag("IncludeQualifiers", false) +
             iparam("PropertyList", "<VALUE.ARRAY><VALUE>Age</VALUE></VALUE.ARRAY>"),
         3,
         [](const VELCIMMethodCall& c) {
             VELSmrPtr<IVelaValue> v = valueOf(c, S::MODIFIEDINSTANCE);
             ASSERT_FALSE(v.isNull());
             EXPECT_TRUE(v->getType()->isInstance());
             VELSmrPtr<IVelaObject> i = v->getObject();
             ASSERT_FALSE(i->getPath().isNull());
             EXPECT_EQ(i->getPath()->toString(), "TST_Person.name=\"Alice\"");
             EXPECT_EQ(i->getProperty("Age")->getValue()->getUnsigned(), 43u);
         }},
        {"DeleteInstance", iparam("InstanceName", kComputerSystemName), 1,
         [](const VELCIMMethodCall& c) { expectReference(c, S::INSTANCENAME); }},
        {"CreateClass", iparam("NewClass", newClass), 1,
         [checkClass](const VELCIMMethodCall& c) { checkClass(c, S::NEWCLASS); }},
        {"ModifyClass", iparam("ModifiedClass", newClass), 1,
         [checkClass](const VELCIMMethodCall& c) { checkClass(c, S::MODIFIEDCLASS); }},
        {"DeleteClass", iparam("ClassName", "<CLASSNAME NAME=\"TST_Person\"/>"), 1,
         [](const VELCIMMethodCall& c) { expectClassName(c, S::CLASSNAME, "TST_Person"); }},
        {"GetProperty",
         iparam("InstanceName", kComputerSystemName) +
             iparam("PropertyName", "<VALUE>Name</VALUE>"),
         2,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::INSTANCENAME);
             expectUntyped(c, S::PROPERTYNAME, "Name");
         }},
        {"SetProperty",
         iparam("InstanceName", kComputerSystemName) +
             iparam("PropertyName", "<VALUE>Description</VALUE>") +
             iparam("NewValue", "<VALUE>  spaces kept  </VALUE>"),
         3,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::INSTANCENAME);
             expectUntyped(c, S::NEWVALUE, "  spaces kept  ");
         }},
        {"SetProperty",
         iparam("InstanceName", kComputerSystemName) +
             iparam("PropertyName", "<VALUE>Description</VALUE>") + iparam("NewValue", ""),
         3,
         [](const VELCIMMethodCall& c) {
             // Present without value: the parameter is there, its value null.
             ASSERT_FALSE(c.getParameterByName(S::NEWVALUE).isNull());
             EXPECT_TRUE(c.getParameterByName(S::NEWVALUE)->getValue().isNull());
             EXPECT_TRUE(c.getParameterValueByName(S::NEWVALUE).isNull());
         }},
        {"SetProperty",
         iparam("InstanceName", kComputerSystemName) +
             iparam("PropertyName", "<VALUE>Dependent</VALUE>") +
             iparam("NewValue", "<VALUE.REFERENCE>" + kComputerSystemName + "</VALUE.REFERENCE>"),
         3, [](const VELCIMMethodCall& c) { expectReference(c, S::NEWVALUE); }},
        {"GetQualifier", iparam("QualifierName", "<VALUE>Description</VALUE>"), 1,
         [](const VELCIMMethodCall& c) { expectUntyped(c, S::QUALIFIERNAME, "Description"); }},
        {"SetQualifier",
         iparam("QualifierDeclaration",
                "<QUALIFIER.DECLARATION NAME=\"ValueMap\" TYPE=\"string\" ISARRAY=\"true\" "
                "TOSUBCLASS=\"true\" OVERRIDABLE=\"false\"><SCOPE PROPERTY=\"true\" "
                "METHOD=\"true\" PARAMETER=\"true\"/><VALUE.ARRAY><VALUE>0</VALUE>"
                "<VALUE>1</VALUE></VALUE.ARRAY></QUALIFIER.DECLARATION>"),
         1,
         [](const VELCIMMethodCall& c) {
             auto p = c.getParameterByName(S::QUALIFIERDECLARATION);
             ASSERT_FALSE(p.isNull());
             EXPECT_TRUE(p->getValue().isNull());
             auto d = p->getQualifierDeclaration();
             ASSERT_FALSE(d.isNull());
             EXPECT_EQ(d->getName(), "ValueMap");
             EXPECT_TRUE(d->getType()->isArray());
             EXPECT_EQ(d->getScope(), tarn::QualifierScope::Property |
                                          tarn::QualifierScope::Method |
                                          tarn::QualifierScope::Parameter);
             EXPECT_EQ(d->getFlavor(), tarn::QualifierFlavor::DisableOverride);
             EXPECT_EQ(text(d->getDefaultValue()), "{0,1}");
         }},
        {"DeleteQualifier", iparam("QualifierName", "<VALUE>Obsolete</VALUE>"), 1,
         [](const VELCIMMethodCall& c) { expectUntyped(c, S::QUALIFIERNAME, "Obsolete"); }},
        {"EnumerateQualifiers", "", 0, [](const VELCIMMethodCall&) {}},
        {"Associators",
         iparam("ObjectName", kComputerSystemName) +
             iparam("AssocClass", "<CLASSNAME NAME=\"CIM_SystemDevice\"/>") +
             iparam("ResultClass", "<CLASSNAME NAME=\"CIM_LogicalDevice\"/>") +
             iparam("Role", "<VALUE>GroupComponent</VALUE>") +
             iparam("ResultRole", "<VALUE>PartComponent</VALUE>") +
             flag("IncludeQualifiers", false) + flag("IncludeClassOrigin", true) +
             iparam("PropertyList", kPropertyList),
         8,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::OBJECTNAME);
             expectClassName(c, S::ASSOCCLASS, "CIM_SystemDevice");
             expectClassName(c, S::RESULTCLASS, "CIM_LogicalDevice");
             expectUntyped(c, S::ROLE, "GroupComponent");
             expectUntyped(c, S::RESULTROLE, "PartComponent");
             expectPropertyList(c);
         }},
        {"Associators", iparam("ObjectName", "<CLASSNAME NAME=\"CIM_ComputerSystem\"/>"), 1,
         [](const VELCIMMethodCall& c) {
             // The object of an association traversal may be a class.
             expectClassName(c, S::OBJECTNAME, "CIM_ComputerSystem");
         }},
        {"AssociatorNames",
         iparam("ObjectName", kComputerSystemName) +
             iparam("AssocClass", "<CLASSNAME NAME=\"CIM_SystemDevice\"/>") +
             iparam("Role", "<VALUE>GroupComponent</VALUE>"),
         3,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::OBJECTNAME);
             expectUntyped(c, S::ROLE, "GroupComponent");
         }},
        {"References",
         iparam("ObjectName", kComputerSystemName) +
             iparam("ResultClass", "<CLASSNAME NAME=\"CIM_SystemDevice\"/>") +
             flag("IncludeClassOrigin", false),
         3, [](const VELCIMMethodCall& c) { expectReference(c, S::OBJECTNAME); }},
        {"ReferenceNames",
         iparam("ObjectName", kComputerSystemName) +
             iparam("Role", "<VALUE>GroupComponent</VALUE>"),
         2, [](const VELCIMMethodCall& c) { expectReference(c, S::OBJECTNAME); }},
        {"ExecQuery",
         iparam("QueryLanguage", "<VALUE>WQL</VALUE>") +
             iparam("Query",
                    "<VALUE>SELECT * FROM CIM_Process WHERE Priority &lt; 5 AND Name "
                    "&lt;&gt; &quot;init&quot;</VALUE>"),
         2,
         [](const VELCIMMethodCall& c) {
             expectUntyped(c, S::QUERYLANGUAGE, "WQL");
             expectUntyped(c, S::QUERY,
                           "SELECT * FROM CIM_Process WHERE Priority < 5 AND Name <> \"init\"");
         }},
        {"OpenEnumerateInstances",
         iparam("ClassName", "<CLASSNAME NAME=\"CIM_ComputerSystem\"/>") +
             flag("DeepInheritance", true) + flag("IncludeClassOrigin", false) +
             iparam("OperationTimeout", "<VALUE>60</VALUE>") + flag("ContinueOnError", false) +
             iparam("MaxObjectCount", "<VALUE>100</VALUE>"),
         6,
         [](const VELCIMMethodCall& c) {
             expectUntyped(c, S::OPERATIONTIMEOUT, "60");
             expectUntyped(c, S::MAXOBJECTCOUNT, "100");
         }},
        {"OpenEnumerateInstancePaths",
         iparam("ClassName", "<CLASSNAME NAME=\"CIM_ComputerSystem\"/>") +
             iparam("FilterQueryLanguage", "") + iparam("FilterQuery", "") +
             iparam("MaxObjectCount", "<VALUE>0</VALUE>"),
         4,
         [](const VELCIMMethodCall& c) {
             EXPECT_TRUE(c.getParameterByName(S::FILTERQUERY)->getValue().isNull());
         }},
        {"OpenReferenceInstances",
         iparam("InstanceName", kComputerSystemName) +
             iparam("ResultClass", "<CLASSNAME NAME=\"CIM_SystemDevice\"/>") +
             iparam("Role", "<VALUE>GroupComponent</VALUE>") +
             iparam("PropertyList", kPropertyList) + iparam("MaxObjectCount", "<VALUE>10</VALUE>"),
         5,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::INSTANCENAME);
             expectPropertyList(c);
         }},
        {"OpenReferenceInstancePaths", iparam("InstanceName", kComputerSystemName), 1,
         [](const VELCIMMethodCall& c) { expectReference(c, S::INSTANCENAME); }},
        {"OpenAssociatorInstances",
         iparam("InstanceName", kComputerSystemName) +
             iparam("AssocClass", "<CLASSNAME NAME=\"CIM_SystemDevice\"/>") +
             iparam("ResultRole", "<VALUE>PartComponent</VALUE>") +
             iparam("OperationTimeout", "<VALUE>30</VALUE>"),
         4,
         [](const VELCIMMethodCall& c) {
             expectReference(c, S::INSTANCENAME);
             expectClassName(c, S::ASSOCCLASS, "CIM_SystemDevice");
         }},
        {"OpenAssociatorInstancePaths", iparam("InstanceName", kComputerSystemName), 1,
         [](const VELCIMMethodCall& c) { expectReference(c, S::INSTANCENAME); }},
        {"OpenQueryInstances",
         iparam("FilterQuery", "<VALUE>SELECT * FROM CIM_ComputerSystem</VALUE>") +
             iparam("FilterQueryLanguage", "<VALUE>DMTF:CQL</VALUE>") +
             flag("ReturnQueryResultClass", false) + iparam("MaxObjectCount", "<VALUE>5</VALUE>"),
         4,
         [](const VELCIMMethodCall& c) {
             expectUntyped(c, S::FILTERQUERYLANGUAGE, "DMTF:CQL");
             expectUntyped(c, S::RETURNQUERYRESULTCLASS, "FALSE");
         }},
        {"PullInstancesWithPath",
         iparam("EnumerationContext", "<VALUE>ctx-0001</VALUE>") +
             iparam("MaxObjectCount", "<VALUE>100</VALUE>"),
         2, [](const VELCIMMethodCall& c) { expectUntyped(c, S::ENUMERATIONCONTEXT, "ctx-0001"); }},
        {"PullInstancePaths",
         iparam("EnumerationContext", "<VALUE>ctx-0002</VALUE>") +
             iparam("MaxObjectCount", "<VALUE>100</VALUE>"),
         2, [](const VELCIMMethodCall&) {}},
        {"PullInstances",
         iparam("EnumerationContext", "<VALUE>ctx-0003</VALUE>") +
             iparam("MaxObjectCount", "<VALUE>1</VALUE>"),
         2, [](const VELCIMMethodCall&) {}},
        {"CloseEnumeration", iparam("EnumerationContext", "<VALUE>ctx-0004</VALUE>"), 1,
         [](const VELCIMMethodCall& c) { expectUntyped(c, S::ENUMERATIONCONTEXT, "ctx-0004"); }},
        {"EnumerationCount", iparam("EnumerationContext", "<VALUE>ctx-0005</VALUE>"), 1,
         [](const VELCIMMethodCall&) {}},
    };
}

TEST(IntrinsicRequest, EveryOperationInClientForm) {
    for (const IntrinsicCase& c : intrinsicCases()) {
        SCOPED_TRACE(c.method);
        VELCIMMessage m(intrinsic(c.method, c.params, "root/cimv2"));
        ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
        EXPECT_TRUE(m.getErrorText().isNull());
        ASSERT_FALSE(m.getSimpleRequestList().isNull());
        EXPECT_TRUE(m.getSimpleExportRequestList().isNull());
        ASSERT_EQ(m.getSimpleRequestList()->entries(), 1u);
        const VELCIMMethodCall& call = *m.getSimpleRequestList()->at(0);
        EXPECT_EQ(call.getMethodName(), c.method);
        EXPECT_TRUE(call.isIntrinsic());
        EXPECT_FALSE(call.isAsync());
        EXPECT_EQ(call.getNameSpace(), "root/cimv2");
        EXPECT_EQ(call.getNameSpacePath()->getNameSpaceComponentCount(), 2u);
        EXPECT_EQ(call.getParameterListPtr()->entries(), c.paramCount);
        EXPECT_TRUE(call.getTarget().isNull());
        c.check(call);
    }
}

TEST(IntrinsicRequest, MessageAttributesAreKeptAsWritten) {
    std::string body =
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.4\"><MESSAGE ID=\"msg-77\" "
        "PROTOCOLVERSION=\"1.4\"><SIMPLEREQ><IMETHODCALL NAME=\"EnumerateQualifiers\">"
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"interop\"/></LOCALNAMESPACEPATH>"
        "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    VELCIMMessage m(body);
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    EXPECT_EQ(m.getCIMVersionId(), "2.0");
    EXPECT_EQ(m.getDTDVersionId(), "2.4");
    EXPECT_EQ(m.getID(), "msg-77");
    EXPECT_EQ(m.getProtocolVersion(), "1.4");
    EXPECT_FALSE(m.isMultiRequest());
    EXPECT_EQ(m.getSimpleRequestList()->at(0)->getNameSpace(), "interop");
}

// Unsupported versions are the caller's to judge: the parser keeps them.
TEST(IntrinsicRequest, VersionsAreNotJudgedHere) {
    std::string body = intrinsic("EnumerateQualifiers", "");
    body.replace(body.find("CIMVERSION=\"2.0\""), 16, "CIMVERSION=\"1.0\"");
    VELCIMMessage m(body);
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    EXPECT_EQ(m.getCIMVersionId(), "1.0");
}

TEST(IntrinsicRequest, NameSpaceForms) {
    struct Case {
        std::string path;
        const char* ns;
    } cases[] = {
        {"<NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>", "root/cimv2"},
        // Some clients put the whole path into one NAMESPACE.
        {"<NAMESPACE NAME=\"root/cimv2\"/>", "root/cimv2"},
        {"<NAMESPACE NAME=\"/root/PG_InterOp\"/>", "root/PG_InterOp"},
    };
    for (const auto& c : cases) {
        VELCIMMessage m(
            message("<SIMPLEREQ><IMETHODCALL NAME=\"EnumerateQualifiers\">"
                    "<LOCALNAMESPACEPATH>" +
                    c.path + "</LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ>"));
        ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
        EXPECT_EQ(m.getSimpleRequestList()->at(0)->getNameSpace(), c.ns);
    }
}

// Pretty-printed requests (line breaks and indentation between elements,
// CRLF line ends, comments) parse the same as compact ones.
TEST(IntrinsicRequest, WhitespaceAndCommentsBetweenElements) {
    std::string body =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
        "<!-- a client's comment -->\r\n"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\r\n"
        "  <MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">\r\n"
        "    <SIMPLEREQ>\r\n"
        "      <IMETHODCALL NAME=\"GetInstance\">\r\n"
        "        <LOCALNAMESPACEPATH>\r\n"
        "          <NAMESPACE NAME=\"root\"/>\r\n"
        "          <NAMESPACE NAME=\"cimv2\"/>\r\n"
        "        </LOCALNAMESPACEPATH>\r\n"
        "        <IPARAMVALUE NAME=\"InstanceName\">\r\n"
        "          <INSTANCENAME CLASSNAME=\"CIM_ComputerSystem\">\r\n"
        "            <KEYBINDING NAME=\"CreationClassName\">\r\n"
        "              <KEYVALUE VALUETYPE=\"string\">CIM_ComputerSystem</KEYVALUE>\r\n"
        "            </KEYBINDING>\r\n"
        "            <!-- the second key -->\r\n"
        "            <KEYBINDING NAME=\"Name\">\r\n"
        "              <KEYVALUE>host1.example.com</KEYVALUE>\r\n"
        "            </KEYBINDING>\r\n"
        "          </INSTANCENAME>\r\n"
        "        </IPARAMVALUE>\r\n"
        "        <IPARAMVALUE NAME=\"PropertyList\">\r\n"
        "          <VALUE.ARRAY>\r\n"
        "            <VALUE>Name</VALUE>\r\n"
        "            <VALUE><![CDATA[Element]]>Name</VALUE>\r\n"
        "          </VALUE.ARRAY>\r\n"
        "        </IPARAMVALUE>\r\n"
        "      </IMETHODCALL>\r\n"
        "    </SIMPLEREQ>\r\n"
        "  </MESSAGE>\r\n"
        "</CIM>\r\n";
    VELCIMMessage m(body);
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    const VELCIMMethodCall& c = *m.getSimpleRequestList()->at(0);
    expectReference(c, S::INSTANCENAME);
    expectPropertyList(c);
}

TEST(IntrinsicRequest, MultipleRequestKeepsOrder) {
    std::string one = "<SIMPLEREQ><IMETHODCALL NAME=\"GetClass\">" + localNameSpace("root/cimv2") +
                      iparam("ClassName", "<CLASSNAME NAME=\"A\"/>") + "</IMETHODCALL></SIMPLEREQ>";
    std::string two = "<SIMPLEREQ><IMETHODCALL NAME=\"NoSuchMethod\">" +
                      localNameSpace("root/other") + "</IMETHODCALL></SIMPLEREQ>";
    std::string three = "<SIMPLEREQ><METHODCALL NAME=\"Reset\"><LOCALCLASSPATH>" +
                        localNameSpace("root/cimv2") +
                        "<CLASSNAME NAME=\"CIM_Service\"/></LOCALCLASSPATH></METHODCALL>"
                        "</SIMPLEREQ>";
    VELCIMMessage m(message("<MULTIREQ>" + one + two + three + "</MULTIREQ>"));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    EXPECT_TRUE(m.isMultiRequest());
    ASSERT_EQ(m.getSimpleRequestList()->entries(), 3u);
    EXPECT_EQ(m.getSimpleRequestList()->at(0)->getMethodName(), "GetClass");
    // Unknown method names are the caller's to answer.
    EXPECT_EQ(m.getSimpleRequestList()->at(1)->getMethodName(), "NoSuchMethod");
    EXPECT_EQ(m.getSimpleRequestList()->at(1)->getNameSpace(), "root/other");
    EXPECT_FALSE(m.getSimpleRequestList()->at(2)->isIntrinsic());
}

// A call that names a destination for a later answer is asynchronous.
TEST(IntrinsicRequest, AsynchronousCallIsRecognised) {
    std::string destination =
        "<RESPONSEDESTINATION><INSTANCE CLASSNAME=\"CIM_ListenerDestinationCIMXML\">" +
        property("Destination", "string", "http://listener.example.com:5990") +
        "</INSTANCE></RESPONSEDESTINATION>";
    VELCIMMessage m(intrinsic("EnumerateInstanceNames",
                              iparam("ClassName", "<CLASSNAME NAME=\"CIM_Foo\"/>") + destination));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    const VELCIMMethodCall& c = *m.getSimpleRequestList()->at(0);
    EXPECT_TRUE(c.isAsync());
    EXPECT_EQ(c.getParameterListPtr()->entries(), 1u);

    VELCIMMessage e(extrinsic("Reset",
                              "<LOCALCLASSPATH>" + localNameSpace("root/cimv2") +
                                  "<CLASSNAME NAME=\"CIM_Service\"/></LOCALCLASSPATH>",
                              destination));
    ASSERT_TRUE(e.isWellFormed()) << e.getErrorText();
    EXPECT_TRUE(e.getSimpleRequestList()->at(0)->isAsync());
}

TEST(IntrinsicRequest, CorrelatorsAreAccepted) {
    std::string body = message(
        "<SIMPLEREQ><CORRELATOR NAME=\"RequestID\" TYPE=\"uint32\"><VALUE>12</VALUE></CORRELATOR>"
        "<CORRELATOR NAME=\"Tag\" TYPE=\"string\"><VALUE>x</VALUE></CORRELATOR>"
        "<IMETHODCALL NAME=\"EnumerateQualifiers\">" +
        localNameSpace("root/cimv2") + "</IMETHODCALL></SIMPLEREQ>");
    VELCIMMessage m(body);
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    EXPECT_EQ(m.getSimpleRequestList()->at(0)->getMethodName(), "EnumerateQualifiers");
}

// Well-formed CIM-XML that asks for nothing: the caller rejects it with its
// own message.
TEST(IntrinsicRequest, ResponsesAndDeclarationsHoldNoRequest) {
    const std::string bodies[] = {
        message("<SIMPLERSP><IMETHODRESPONSE NAME=\"GetClass\"><IRETURNVALUE/></IMETHODRESPONSE>"
                "</SIMPLERSP>"),
        message("<SIMPLEEXPRSP><EXPMETHODRESPONSE NAME=\"ExportIndication\"/></SIMPLEEXPRSP>"),
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><DECLARATION><DECLGROUP/></DECLARATION></CIM>",
    };
    for (const auto& b : bodies) {
        VELCIMMessage m(b);
        ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
        EXPECT_TRUE(m.getSimpleRequestList().isNull());
        EXPECT_TRUE(m.getSimpleExportRequestList().isNull());
    }
}

// Parameters keep their request order and duplicates: judging them is the
// operation's business.
TEST(IntrinsicRequest, DuplicateParametersAreKept) {
    VELCIMMessage m(intrinsic("GetClass", iparam("ClassName", "<CLASSNAME NAME=\"A\"/>") +
                                              iparam("ClassName", "<CLASSNAME NAME=\"B\"/>")));
    ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
    const VELCIMMethodCall& c = *m.getSimpleRequestList()->at(0);
    ASSERT_EQ(c.getParameterListPtr()->entries(), 2u);
    EXPECT_EQ(c.getParameterValueByName(S::CLASSNAME), "A");
}

}  // namespace
