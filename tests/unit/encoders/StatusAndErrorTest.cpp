// Status translation and ERROR elements, from text or with instances.
#include "EncoderTestSupport.h"

namespace enctest {
namespace {

TEST(StatusCodes, HandlerStatusesTranslateAsTabledAndGapsBecomeOneWithALogLine) {
    struct Case {
        int handler;
        int cim;
        bool logged;
    };
    const Case cases[] = {
        {0, 0, false},   {1, 1, false},   {6, 6, false},   {14, 14, false},  {15, 7, false},
        {16, 15, false}, {17, 17, false}, {18, 1, true},   {19, 1, true},    {20, 1, true},
        {21, 21, false}, {28, 28, false}, {29, 1, true},   {1000, 4, false}, {1001, 1, false},
        {-1, 1, true},   {999, 1, true},  {1002, 1, true},
    };
    for (const Case& c : cases) {
        tarn::LogCapture log;
        EXPECT_EQ(CIMXMLUtil::translateOperationHandlerStatus(c.handler), c.cim) << c.handler;
        std::string line = "No mapping found for status code " + std::to_string(c.handler);
        EXPECT_EQ(log.contains("cimxmlpa::CIMXMLUtil::translateOperationHandlerStatus", line, 1),
                  c.logged)
            << c.handler;
        EXPECT_EQ(log.lines().size(), c.logged ? 1u : 0u) << c.handler;
    }
}

TEST(StatusCodes, DescriptionsKeepTheirExactTextsAndCodes18And19HaveNone) {
    EXPECT_EQ(CIMXMLUtil::getStatusCodeDescription(0), VELString("Success."));
    EXPECT_EQ(CIMXMLUtil::getStatusCodeDescription(9),
              VELString("The operation cannot be invoked on this class because one or more "
                        "instances of this class exist."));
    EXPECT_EQ(CIMXMLUtil::getStatusCodeDescription(20),
              VELString("The specified Namespace is not empty."));
    EXPECT_EQ(CIMXMLUtil::getStatusCodeDescription(21),
              VELString("The enumeration identified by the specified context cannot be found, "
                        "is in a closed state, does not exist, or is otherwise invalid"));
    EXPECT_EQ(CIMXMLUtil::getStatusCodeDescription(28),
              VELString("The CIM Server is in the process of shutting down and cannot process "
                        "the operatoin at this time."));
    for (int code = 0; code <= 28; ++code) {
        tarn::LogCapture log;
        bool missing = code == 18 || code == 19;
        EXPECT_EQ(CIMXMLUtil::getStatusCodeDescription(code).isNull(), missing) << code;
        EXPECT_EQ(log.contains("cimxmlpa::CIMXMLUtil::getStatusDescription",
                               "No description found for status code " + std::to_string(code), 1),
                  missing)
            << code;
    }
}

TEST(ErrorElement, FromTextCarriesTranslatedCodeAndEscapedDetail) {
    EXPECT_EQ(CIMXMLUtil::createCIMErrorMsg(6, "x<y"),
              VELString("<ERROR CODE=\"6\" DESCRIPTION=\"The requested object cannot be found. "
                        "(x&lt;y)\" />"));
    EXPECT_EQ(CIMXMLUtil::createCIMErrorMsg(15, ""),
              VELString("<ERROR CODE=\"7\" DESCRIPTION=\"The requested operation is not "
                        "supported.\" />"));
    EXPECT_EQ(out([](std::ostream& os) { CIMXMLUtil::streamError(os, 1000, "bad \"Flag\""); }),
              "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method "
              "are not valid. (bad &quot;Flag&quot;)\" />\n");
}

class ErrorInstances : public ::testing::Test {
  protected:
    ScopedClasses classes{errorSchema()};
    VELSmrPtr<IVelaNameSpacePath> ns = nsPath("root/cimv2", "h1");
};

TEST_F(ErrorInstances, CimErrorsAreWrittenAsTheyAreOtherInstancesAreWrapped) {
    auto error = makeVELSmrPtr<CVelaObject>("TEST_Error", nameOf("TEST_Error", ns));
    error->addProperty("ErrorType", CVelaValue::makeUint16(3));
    error->addProperty("Message", str("disk <full>"));
    auto thing =
        makeVELSmrPtr<CVelaObject>("TEST_Thing", nameOf("TEST_Thing", ns, {{"Name", str("a&b")}}));
    thing->addProperty("Name", str("a&b"));
    auto other = makeVELSmrPtr<CVelaObject>("Other_Thing");
    other->addProperty("Id", str("7"));

    auto ex = makeVELSmrPtr<VelaBaseException>("Failed", "Op", "", "gone", 6);
    auto list = makeVELSmrPtr<VelaBaseException::InstanceList>();
    for (VELSmrPtr<IVelaObject> o :
         {VELSmrPtr<IVelaObject>(), VELSmrPtr<IVelaObject>(error), VELSmrPtr<IVelaObject>(thing),
          VELSmrPtr<IVelaObject>(other)}) {
        list->append(o);
    }
    ex->setInstances(list);
    std::string text = out([&](std::ostream& os) { CIMXMLUtil::streamError(os, ex); });

    const std::string path =
        "<INSTANCEPATH>\n<NAMESPACEPATH>\n<HOST>h1</HOST>\n<LOCALNAMESPACEPATH>\n"
        "<NAMESPACE NAME=\"root\"/>\n<NAMESPACE NAME=\"cimv2\"/>\n</LOCALNAMESPACEPATH>\n"
        "</NAMESPACEPATH>\n<INSTANCENAME CLASSNAME=\"TEST_Thing\">\n<KEYBINDING NAME=\"Name\">"
        "<KEYVALUE VALUETYPE=\"string\" TYPE=\"string\">a&amp;b</KEYVALUE></KEYBINDING>\n"
        "</INSTANCENAME>\n</INSTANCEPATH>\n";
    const std::string otherText =
        "<INSTANCE CLASSNAME=\"Other_Thing\">\n<PROPERTY NAME=\"Id\" TYPE=\"string\">"
        "<VALUE>7</VALUE>\n</PROPERTY>\n</INSTANCE>\n";
    // Escaped once as text for the property, once more as the property's value.
    auto twice = [](const std::string& s) {
        return CIMUtil::xmlEncode(CIMUtil::xmlEncode(VELString(s))).str();
    };
    EXPECT_EQ(text,
              "<ERROR CODE=\"6\" DESCRIPTION=\"The requested object cannot be found. (gone)\">\n"
              "<INSTANCE CLASSNAME=\"TEST_Error\">\n"
              "<PROPERTY NAME=\"ErrorType\" TYPE=\"uint16\"><VALUE>3</VALUE>\n</PROPERTY>\n"
              "<PROPERTY NAME=\"Message\" TYPE=\"string\"><VALUE>disk &lt;full&gt;</VALUE>\n"
              "</PROPERTY>\n</INSTANCE>\n"
              "<INSTANCE CLASSNAME=\"CIM_Error\">\n"
              "<PROPERTY NAME=\"ErrorSourceFormat\" TYPE=\"uint16\"><VALUE>2</VALUE>\n"
              "</PROPERTY>\n<PROPERTY NAME=\"ErrorSource\" TYPE=\"string\"><VALUE>" +
                  twice(path) +
                  "</VALUE>\n</PROPERTY>\n</INSTANCE>\n"
                  "<INSTANCE CLASSNAME=\"CIM_Error\">\n"
                  "<PROPERTY NAME=\"ErrorSourceFormat\" TYPE=\"uint16\"><VALUE>1</VALUE>\n"
                  "</PROPERTY>\n<PROPERTY NAME=\"OtherErrorSourceFormat\" TYPE=\"string\"><VALUE>" +
                  twice(otherText) + "</VALUE>\n</PROPERTY>\n</INSTANCE>\n</ERROR>");

    // A client that decodes the ErrorSource twice gets the path back as XML.
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(text.c_str()));
    auto instances = doc.child("ERROR").children("INSTANCE");
    ASSERT_EQ(std::distance(instances.begin(), instances.end()), 3);
    std::string once = doc.child("ERROR")
                           .find_child_by_attribute("INSTANCE", "CLASSNAME", "CIM_Error")
                           .find_child_by_attribute("PROPERTY", "NAME", "ErrorSource")
                           .child("VALUE")
                           .text()
                           .get();
    EXPECT_EQ(decoded(once), path);
    EXPECT_TRUE(wellFormed(decoded(once)));
}

}  // namespace
}  // namespace enctest
