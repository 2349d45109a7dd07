// TARN's default schema (schema/): what it holds, that it loads once and
// entirely or not at all, and that its qualifier declarations are the
// standard ones.
#include <cstdlib>
#include <fstream>

#include "RepositoryTestSupport.h"
#include "repository/DefaultSchema.h"
#include "tarn/CIMStatus.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/QualifierFlavor.h"

namespace repotest {
namespace {

class DefaultSchema : public ::testing::Test {
  protected:
    void SetUp() override {
        repo = std::make_unique<tarn::Repository>((dir.path() / "repository.db").string());
        ASSERT_TRUE(tarn::DefaultSchema::ensure(*repo, schemaDir()));
    }
    static VELString schemaDir() { return std::string(TARN_SOURCE_DIR) + "/schema"; }
    std::vector<VELSmrPtr<IVelaObject>> instances(const char* ns, const char* cls) {
        std::vector<VELSmrPtr<IVelaObject>> out;
        repo->enumerateInstances(ns, cls, true, [&](const VELSmrPtr<IVelaObject>& o) {
            out.push_back(o);
            return true;
        });
        return out;
    }

    TempDir dir;
    std::unique_ptr<tarn::Repository> repo;
};

TEST_F(DefaultSchema, LoadsOnceIntoTheInteropAndCimv2Namespaces) {
    EXPECT_EQ(repo->catalog()->getNameSpaces(), (std::vector<VELString>{"interop", "root/cimv2"}));
    EXPECT_FALSE(tarn::DefaultSchema::ensure(*repo, schemaDir()));
    EXPECT_NE(repo->getInfo("default_schema").find(" from " + schemaDir()), VELString::npos);
    repo.reset();
    repo = std::make_unique<tarn::Repository>((dir.path() / "repository.db").string());
    EXPECT_FALSE(tarn::DefaultSchema::ensure(*repo, schemaDir()));
    EXPECT_EQ(repo->countInstances("root/cimv2", "CIM_ManagedElement", true), 5u);
}

TEST_F(DefaultSchema, InteropHoldsTheClassesOfTheObjectManagerAndOfIndications) {
    const char* ns = "interop";
    struct Chain {
        const char* cls;
        const char* ancestor;
    };
    for (const Chain& c : std::vector<Chain>{
             {"CIM_ObjectManager", "CIM_Service"},
             {"CIM_ObjectManager", "CIM_ManagedElement"},
             {"CIM_Namespace", "CIM_ManagedElement"},
             {"CIM_CIMXMLCommunicationMechanism", "CIM_ObjectManagerCommunicationMechanism"},
             {"CIM_CIMXMLCommunicationMechanism", "CIM_ServiceAccessPoint"},
             {"CIM_IndicationService", "CIM_Service"},
             {"CIM_IndicationFilter", "CIM_ManagedElement"},
             {"CIM_ListenerDestinationCIMXML", "CIM_ListenerDestination"},
             {"CIM_IndicationSubscription", "CIM_AbstractIndicationSubscription"},
             {"CIM_InstCreation", "CIM_Indication"},
             {"CIM_InstModification", "CIM_InstIndication"},
             {"CIM_InstDeletion", "CIM_InstIndication"},
             {"CIM_RegisteredProfile", "CIM_RegisteredSpecification"},
             {"CIM_Error", "CIM_Error"},
         }) {
        VELSmrPtr<IVelaClass> cls;
        cls = repo->catalog()->getClass(ns, c.cls);
        ASSERT_FALSE(cls.isNull()) << c.cls;
        EXPECT_TRUE(cls->isA(c.ancestor)) << c.cls << " is a " << c.ancestor;
    }
    auto keys = [&](const char* cls) {
        std::vector<std::string> out;
        for (const auto& k : repo->catalog()->getClass(ns, cls)->getKeyNames()) {
            out.push_back(k.str());
        }
        return out;
    };
    using V = std::vector<std::string>;
    // Name comes first: it is inherited from CIM_ManagedSystemElement.
    EXPECT_EQ(keys("CIM_ObjectManager"),
              (V{"Name", "SystemCreationClassName", "SystemName", "CreationClassName"}));
    EXPECT_EQ(keys("CIM_Namespace"),
              (V{"SystemCreationClassName", "SystemName", "ObjectManagerCreationClassName",
                 "ObjectManagerName", "CreationClassName", "Name"}));
    EXPECT_EQ(keys("CIM_ListenerDestinationCIMXML"),
              (V{"SystemCreationClassName", "SystemName", "CreationClassName", "Name"}));
    EXPECT_EQ(keys("CIM_IndicationSubscription"), (V{"Filter", "Handler"}));
    EXPECT_EQ(keys("CIM_RegisteredProfile"), V{"InstanceID"});

    auto subscription = repo->catalog()->getClass(ns, "CIM_IndicationSubscription");
    EXPECT_TRUE(subscription->isAssociation());
    EXPECT_EQ(subscription->getPropertyDef("Filter")->getType()->getReferenceClassName(),
              "CIM_IndicationFilter");
    EXPECT_EQ(subscription->getPropertyDef("Handler")->getType()->getReferenceClassName(),
              "CIM_ListenerDestination");
    EXPECT_TRUE(repo->catalog()->getClass(ns, "CIM_InstCreation")->isIndication());
    EXPECT_TRUE(repo->catalog()->getClass(ns, "CIM_Indication")->isAbstract());
    EXPECT_FALSE(repo->catalog()->getClass(ns, "CIM_InstCreation")->isAbstract());
    auto previous =
        repo->catalog()->getClass(ns, "CIM_InstModification")->getPropertyDef("PreviousInstance");
    EXPECT_FALSE(previous->getQualifier("EmbeddedObject").isNull());
    EXPECT_EQ(repo->catalog()
                  ->getClass(ns, "CIM_ListenerDestinationCIMXML")
                  ->getPropertyDef("Destination")
                  ->getOriginClassName(),
              "CIM_ListenerDestinationCIMXML");

    // The indication service with the default delivery retry settings.
    auto services = instances(ns, "CIM_IndicationService");
    ASSERT_EQ(services.size(), 1u);
    auto attempts = services[0]->getProperty("DeliveryRetryAttempts");
    EXPECT_EQ(attempts->getType()->getTypeId(), CIMTypeId::UInt16);
    EXPECT_EQ(attempts->getValue()->getUnsigned(), 3u);
    auto interval = services[0]->getProperty("DeliveryRetryInterval");
    EXPECT_EQ(interval->getType()->getTypeId(), CIMTypeId::UInt32);
    EXPECT_EQ(interval->getValue()->getUnsigned(), 30u);

    // The qualifier TARN declares for reference-qualified string keys.
    for (const char* n : {"interop", "root/cimv2"}) {
        auto q = repo->catalog()->getQualifierDef(n, "tarn_referencekey");
        EXPECT_EQ(q->getName(), "TARN_ReferenceKey");
        EXPECT_EQ(q->getType()->getTypeId(), CIMTypeId::Boolean);
        EXPECT_EQ(q->getScope(), tarn::QualifierScope::Property);
        EXPECT_EQ(q->getFlavor(), tarn::QualifierFlavor::DisableOverride);
    }

    // Installed as the process's class lookup, the schema serves the encoders.
    tarn::ISchemaCatalog::install(repo->catalog());
    EXPECT_FALSE(tarn::ISchemaCatalog::installed()
                     ->getClass("interop", "cim_listenerdestinationcimxml")
                     .isNull());
    EXPECT_TRUE(tarn::ISchemaCatalog::installed()->getClass("interop", "TARN_Service").isNull());
}

TEST_F(DefaultSchema, Cimv2HoldsTarnsModelWithExampleInstances) {
    const char* ns = "root/cimv2";
    EXPECT_TRUE(repo->catalog()->getClass(ns, "TARN_ComputerSystem")->isA("CIM_ComputerSystem"));
    EXPECT_TRUE(repo->catalog()->getClass(ns, "TARN_Service")->isA("CIM_Service"));
    EXPECT_TRUE(repo->catalog()->getClass(ns, "TARN_HostedService")->isA("CIM_HostedService"));
    auto port = repo->catalog()->getClass(ns, "TARN_ListeningPort");
    std::vector<CIMTypeId> keyTypes;
    for (const auto& k : port->getKeyNames()) {
        keyTypes.push_back(port->getPropertyDef(k)->getType()->getTypeId());
    }
    EXPECT_EQ(keyTypes,
              (std::vector<CIMTypeId>{CIMTypeId::String, CIMTypeId::UInt16, CIMTypeId::UInt16}));

    EXPECT_EQ(instances(ns, "TARN_ComputerSystem").size(), 1u);
    EXPECT_EQ(instances(ns, "TARN_Service").size(), 2u);
    EXPECT_EQ(instances(ns, "TARN_ListeningPort").size(), 2u);
    // Every association end names an instance that exists.
    for (const char* assoc : {"TARN_HostedService", "TARN_ServiceListeningPort"}) {
        auto links = instances(ns, assoc);
        EXPECT_EQ(links.size(), 2u) << assoc;
        for (const auto& link : links) {
            for (const char* end : {"Antecedent", "Dependent"}) {
                auto ref = link->getProperty(end)->getValue()->getReference();
                EXPECT_EQ(codeOf([&] { repo->getInstance(ns, *ref); }), 0)
                    << assoc << "." << end << " = " << ref->toString();
            }
        }
    }
    // A port is found by its keys given as request text.
    auto https = repo->getInstance(
        ns, *CVelaInstanceName::parse(
                "TARN_ListeningPort.Transport=6,Port=5989,Address=\"127.0.0.1\""));
    EXPECT_EQ(valueText(*https, "Secure"), "TRUE");
    // The walkthrough's create.
    auto path = repo->createInstance(
        ns, *instance("TARN_Service", {{"SystemCreationClassName", text("TARN_ComputerSystem")},
                                       {"SystemName", text("tarn-example.local")},
                                       {"CreationClassName", text("TARN_Service")},
                                       {"Name", text("sshd")},
                                       {"Priority", text("-5")}}));
    EXPECT_EQ(valueText(*repo->getInstance(ns, *path), "Priority"), "-5");
    EXPECT_EQ(valueText(*repo->getInstance(ns, *path), "RestartCount"), "0");
}

TEST_F(DefaultSchema, NamespacesAreCreatedWithTheStandardQualifiersAndDeletedWhenEmpty) {
    auto qualifierNames = [&](const char* ns) {
        std::vector<VELString> out;
        for (const auto& q : repo->catalog()->getQualifierDefs(ns)) {
            out.push_back(q->getName());
        }
        return out;
    };
    tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/new");
    EXPECT_TRUE(repo->catalog()->hasNameSpace("ROOT/NEW"));
    EXPECT_EQ(qualifierNames("root/new"), qualifierNames("interop"));
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/New"); }),
              tarn::CIM_ERR_ALREADY_EXISTS);
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "a//b"); }),
              tarn::CIM_ERR_INVALID_PARAMETER);
    EXPECT_FALSE(repo->catalog()->hasNameSpace("a//b"));

    EXPECT_EQ(codeOf([&] { repo->deleteNameSpace("root/cimv2"); }),
              tarn::CIM_ERR_NAMESPACE_NOT_EMPTY);
    repo->deleteNameSpace("root/NEW");
    EXPECT_FALSE(repo->catalog()->hasNameSpace("root/new"));
    EXPECT_TRUE(qualifierNames("root/new").empty());
    EXPECT_EQ(codeOf([&] { repo->deleteNameSpace("root/new"); }), tarn::CIM_ERR_INVALID_NAMESPACE);

    // Gone from the file too; the name can be used again.
    repo.reset();
    repo = std::make_unique<tarn::Repository>((dir.path() / "repository.db").string());
    EXPECT_EQ(repo->catalog()->getNameSpaces(), (std::vector<VELString>{"interop", "root/cimv2"}));
    tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/new");
    EXPECT_EQ(qualifierNames("root/new"), qualifierNames("interop"));
}

TEST_F(DefaultSchema, ItsQualifierDeclarationsAreTheStandardOnes) {
    fs::path zip = fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
    if (!fs::exists(zip)) {
        GTEST_SKIP() << "no " << zip;
    }
    TempDir unzipped;
    std::string cmd =
        "unzip -q -o '" + zip.string() + "' qualifiers.mof -d '" + unzipped.path().string() + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    std::ifstream in(unzipped.path() / "qualifiers.mof");
    std::string mof((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_FALSE(mof.empty());
    tarn::RepositoryMofSink::Counts counts;
    ASSERT_EQ(loadMof(*repo, mof, "interop", &counts), "");
    EXPECT_EQ(counts.qualifiers, 0u) << "declarations that differ from the standard ones";
    EXPECT_GT(counts.unchanged, 50u);
}

TEST(DefaultSchemaLoad, IsAllOrNothing) {
    TempDir dir;
    fs::create_directories(dir.path() / "schema");
    std::ofstream(dir.path() / "schema" / "tarn.mof")
        << "#pragma namespace (\"interop\")\n"
           "Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, "
           "ToSubclass);\n"
           "class A { [Key] string K; };\n"
           "#pragma namespace (\"root/cimv2\")\n"
           "class B : Missing { };\n";
    tarn::Repository repo((dir.path() / "repository.db").string());
    std::string message;
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::ensure(repo, (dir.path() / "schema").string()); },
                     &message),
              1);
    EXPECT_NE(message.find("tarn.mof:5:11: error: unknown superclass Missing of class B"),
              std::string::npos)
        << message;
    EXPECT_TRUE(repo.catalog()->getNameSpaces().empty());
    EXPECT_TRUE(repo.getInfo("default_schema").isNull());
    // A missing schema directory says which file it looked for.
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::ensure(repo, (dir.path() / "none").string()); },
                     &message),
              1);
    EXPECT_NE(message.find("none/tarn.mof"), std::string::npos) << message;
}

}  // namespace
}  // namespace repotest
