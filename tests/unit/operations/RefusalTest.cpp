// The requests the operations' readers refuse: the code and the answer of
// each, the error lines logged (exactly), and that the handler never sees them.
#include <cctype>

#include "OperationTestSupport.h"

namespace {

using namespace optest;

const std::string kInvalid =
    "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method are not "
    "valid.\"/>";
const std::string kGeneral =
    "<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred that is not covered by a more "
    "specific error code.\"/>";

std::string word(const char* parameter, const char* text) {
    return iparam(parameter, value(text));
}
std::string objectName(const std::string& content) {
    return iparam("ObjectName", content);
}
// The log line of an exception the reader caught, as the reader must write it.
std::string caughtLine(const std::function<void()>& thrower) {
    try {
        thrower();
    } catch (const VelaBaseException& e) {
        return "Caught " + e.getWho().str() + "; Code: " + std::to_string(e.getCode()) +
               "; Msg: " + e.getMessage().str();
    }
    ADD_FAILURE() << "nothing thrown";
    return {};
}

class RefusalTest : public ::testing::Test {
  protected:
    RefusalTest() { tarn::ISchemaCatalog::install(context.classes); }
    ~RefusalTest() override { tarn::ISchemaCatalog::install(nullptr); }

    FakeContext context;
    QuietTrace quiet;
    tarn::LogCapture log;
};

TEST_F(RefusalTest, EachRefusalHasItsCodeAnswerAndLogLines) {
    const std::string base = className("Test_Base");
    const std::string leaf = iparam("InstanceName", leafName());
    const std::string named =
        iparam("ModifiedInstance",
               "<VALUE.NAMEDINSTANCE>" + leafName() + leafInstance() + "</VALUE.NAMEDINSTANCE>");
    const std::string newLeaf = iparam("NewInstance", leafInstance());
    const std::string ofLeaf = objectName(leafName());
    const std::string notAReference =
        caughtLine([] { CVelaValue::makeUntyped("x")->getReference(); });
    // A good embedded Test_Part, as a client escapes it, then a broken one.
    const std::string badParts =
        iparam("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_Holder\"/>") +
        word("PropertyName", "Parts") +
        iparam("NewValue",
               "<VALUE.ARRAY><VALUE>&lt;INSTANCE CLASSNAME=&quot;Test_Part&quot;&gt;&lt;PROPERTY "
               "NAME=&quot;Id&quot; TYPE=&quot;string&quot;&gt;&lt;VALUE&gt;p1&lt;/VALUE&gt;&lt;"
               "/PROPERTY&gt;&lt;/INSTANCE&gt;</VALUE><VALUE>&lt;INSTANCE</VALUE></VALUE.ARRAY>");
    const std::string check = "CIMXMLUtil::validateParameterNames: Operation '";
    const std::string enumInit = "EnumerateInstancesOperation::initialize: ";
    const std::string getInit = "GetInstanceOperation::initialize: ";
    const std::string getClass = "GetClassOperation::setRequest: ";
    const std::string classes = "EnumerateClassesOperation::setRequest: ";
    const std::string assocNames = "AssociatorNamesOperation::setRequest: ";
    const std::string assocs = "AssociatorsOperation::setRequest: ";
    const std::string refs = "ReferencesOperation::setRequest: ";
    const std::string badModified =
        "ModifyInstanceOperation::setRequestParameters: Invalid ModifiedInstance parameter value.";
    const std::string missingObject =
        "Missing required parameter OBJECTNAME, or OBJECTNAME is not a REFERENCE type";
    struct Case {
        const char* method;
        std::string params;
        int code;
        std::string logged;  // the error lines, sources without "cimxmlpa::"
    };
    // A boolean parameter given a word that is neither true nor false.
    auto badWord = [](const char* method, const std::string& params, const std::string& who,
                      const char* parameter, const char* text) {
        std::string name = parameter;
        name[0] = static_cast<char>(std::tolower(name[0]));
        return Case{method, params + word(parameter, text), 4,
                    who + "Invalid value for " + name + ": " + text};
    };
    // A parameter the method's sets do not allow, or that is twice or missing.
    const char* extra = "has unsupported parameter";
    const char* missing = "missing required parameter";
    auto badSet = [&](const char* method, const std::string& params, const char* problem,
                      const char* name) {
        return Case{method, params, 4, check + method + "' " + problem + " '" + name + "'"};
    };
    const Case cases[] = {
        // Boolean words other than true and false in any case, and no blanks.
        badWord("EnumerateInstances", base, enumInit, "DeepInheritance", "yes"),
        badWord("EnumerateInstances", base, enumInit, "DeepInheritance", "1"),
        badWord("EnumerateInstances", base, enumInit, "DeepInheritance", " true"),
        badWord("EnumerateInstances", base, enumInit, "IncludeClassOrigin", "true "),
        // IncludeClassOrigin is read first, and the reader stops there.
        badWord("EnumerateInstances", base + word("DeepInheritance", "no"), enumInit,
                "IncludeClassOrigin", "0"),
        badWord("GetInstance", leaf, getInit, "IncludeClassOrigin", "yes"),
        badWord("GetClass", className("Test_Leaf"), getClass, "IncludeQualifiers", "yes"),
        badWord("GetClass", className("Test_Leaf"), getClass, "IncludeClassOrigin", "1"),
        badWord("GetClass", className("Test_Leaf"), getClass, "LocalOnly", "no"),
        badWord("EnumerateClasses", "", classes, "DeepInheritance", "yes"),
        badWord("EnumerateClasses", "", classes, "LocalOnly", "1"),
        badWord("EnumerateClasses", "", classes, "IncludeQualifiers", "no"),
        badWord("EnumerateClasses", "", classes, "IncludeClassOrigin", " true"),
        badWord("EnumerateClassNames", "",
                "EnumerateClassNamesOperation::setRequest: ", "DeepInheritance", "deep"),
        badWord("Associators", ofLeaf, assocs, "IncludeClassOrigin", "yes"),
        badWord("References", ofLeaf, refs, "IncludeClassOrigin", "1"),
        // Parameters outside the method's sets (names compare exactly), twice
        // the same one, a required one missing: nothing after the check is read.
        badSet("EnumerateInstances", iparam("ClassName", "") + word("Colour", "b"), extra,
               "Colour"),
        badSet("EnumerateInstances", base + leaf, extra, "InstanceName"),
        {"EnumerateInstances", iparam("classname", "<CLASSNAME NAME=\"B\"/>"), 4,
         check + "EnumerateInstances' has unsupported parameter 'classname'\n" + check +
             "EnumerateInstances' missing required parameter 'ClassName'"},
        badSet("EnumerateInstances", base + base, "has duplicate parameter", "ClassName"),
        badSet("GetInstance", leaf + word("DeepInheritance", "TRUE"), extra, "DeepInheritance"),
        badSet("GetInstance", leaf + iparam("Bogus", ""), extra, "Bogus"),
        badSet("EnumerateInstanceNames", base + propertyList({"Id"}), extra, "PropertyList"),
        badSet("CreateInstance", newLeaf + propertyList({"Id"}), extra, "PropertyList"),
        badSet("ModifyInstance", named + word("LocalOnly", "TRUE"), extra, "LocalOnly"),
        badSet("DeleteInstance", leaf + className("Test_Leaf"), extra, "ClassName"),
        badSet("DeleteInstance", "", missing, "InstanceName"),
        badSet("CreateInstance", "", missing, "NewInstance"),
        badSet("GetClass", "", missing, "ClassName"),
        badSet("GetClass", className("Test_Leaf") + word("DeepInheritance", "true"), extra,
               "DeepInheritance"),
        badSet("ReferenceNames", ofLeaf + word("AssocClass", "X"), extra, "AssocClass"),
        badSet("References", ofLeaf + word("ResultRole", "X"), extra, "ResultRole"),
        badSet("AssociatorNames", ofLeaf + propertyList({"Id"}), extra, "PropertyList"),
        badSet("Associators", word("Role", "X"), missing, "ObjectName"),
        // Present but unusable.
        {"EnumerateInstances", iparam("ClassName", ""), 4,
         enumInit + "Missing ClassName parameter."},
        {"EnumerateInstanceNames", iparam("ClassName", ""), 4, ""},
        {"CreateInstance", iparam("NewInstance", ""), 4,
         "CreateInstanceOperation::setRequestInstance: Invalid parameter value."},
        {"ModifyInstance", iparam("ModifiedInstance", ""), 4, badModified},
        {"ModifyInstance", iparam("ModifiedInstance", value("x")), 4, badModified},
        // A value that is no instance name makes the model throw; the reader
        // reports that as a general failure.
        {"GetInstance", iparam("InstanceName", value("x")), 1, getInit + notAReference},
        {"DeleteInstance", iparam("InstanceName", value("x")), 1,
         "DeleteInstanceOperation::setRequestParameters: " + notAReference},
        {"AssociatorNames", objectName(""), 4, assocNames + "Invalid parameter value."},
        {"AssociatorNames", objectName(value("Test_Leaf.Id=7")), 4,
         assocNames + "Invalid parameter value."},
        {"Associators", objectName(""), 4, assocs + missingObject},
        {"Associators", objectName(value("x")), 4, assocs + missingObject},
        {"References", objectName(value("x")), 4, refs + "Invalid parameter value."},
        {"ReferenceNames", objectName(""), 4,
         "ReferenceNamesOperation::setRequest: Invalid parameter value."},
        {"GetQualifier", iparam("QualifierName", ""), 4,
         "GetQualifierOperation::setRequest: Missing QualifierName parameter."},
        {"GetProperty", leaf + iparam("PropertyName", ""), 4,
         "GetPropertyOperation::setRequestParameters: Missing required parameter"},
        {"SetProperty", iparam("InstanceName", "") + word("PropertyName", "Id"), 4,
         "SetPropertyOperation::setRequestParameters: Missing InstanceName or PropertyName"},
        {"SetProperty", badParts, 4,
         "SetPropertyOperation::setRequestParameters: Error parsing "
         "EmbeddedInstance/EmbeddedObject property \"Parts\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + ": " + c.params);
        log.clear();
        context.handler.calls = 0;
        Body body;
        OperationFactory::Operation op = run(context, c.method, c.params, body);
        ASSERT_FALSE(op.isNull());
        EXPECT_FALSE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), c.code);
        EXPECT_EQ(body.text(), response(c.method, c.code == 4 ? kInvalid : kGeneral));
        EXPECT_EQ(context.handler.calls, 0);
        std::string logged;
        for (const auto& line : log.lines()) {
            if (line.severity == 1) {
                logged += (logged.empty() ? "" : "\n") +
                          line.source.str().substr(line.source.str().find("::") + 2) + ": " +
                          line.message.str();
            }
        }
        EXPECT_EQ(logged, c.logged);
    }
}

}  // namespace
