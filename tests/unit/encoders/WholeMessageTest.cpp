// A whole response message built from the encoders is checked against the
// CIM DTD with xmllint, not only for well-formedness.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "EncoderTestSupport.h"
#include "tarn/CQualifierDef.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaActualParameter.h"

namespace enctest {
namespace {

std::string simple(const char* method, const std::string& body) {
    return std::string("<SIMPLERSP><IMETHODRESPONSE NAME=\"") + method + "\">" + body +
           "</IMETHODRESPONSE></SIMPLERSP>\n";
}

TEST(WholeMessage, ResponsesOfTheCommonOperationsFollowTheDtd) {
    const std::filesystem::path dtd =
        std::filesystem::path(TARN_TEST_DATA_DIR) / "DSP0203_2.4.0.dtd";
    if (!std::filesystem::exists(dtd) || std::system("xmllint --version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "needs xmllint and " << dtd;
    }
    auto set = errorSchema();
    auto reset = makeVELSmrPtr<tarn::CMethodDef>("Reset", CVelaType::uint32);
    auto force = makeVELSmrPtr<tarn::CParameterDef>("Force", CVelaType::boolean);
    force->addQualifier(qualifier("In", CVelaValue::makeBoolean(true)));
    reset->addParameter(force);
    reset->addParameter(
        makeVELSmrPtr<tarn::CParameterDef>("Peers", CVelaType::referenceTo("TEST_Thing", true)));
    auto device = makeVELSmrPtr<CVelaClass>("TEST_Device", "TEST_Thing");
    device->addQualifier(qualifier("Description", str("a <device>")));
    device->addProperty(
        makeVELSmrPtr<tarn::CPropertyDef>("Codes", CVelaType::get(CIMTypeId::UInt16, true)));
    device->addProperty(
        makeVELSmrPtr<tarn::CPropertyDef>("Owner", CVelaType::referenceTo("TEST_Thing")));
    device->addMethod(reset);
    set->addClass("root/cimv2", device);
    ScopedClasses classes(set);
    auto cimv2 = nsPath("root/cimv2", "h1");
    auto deviceClass = set->getClass("root/cimv2", "TEST_Device");

    auto owner = nameOf("TEST_Thing", cimv2, {{"Name", str("o\"1")}});
    auto inst = makeVELSmrPtr<CVelaObject>("TEST_Device",
                                           nameOf("TEST_Device", cimv2, {{"Name", str("d&1")}}));
    inst->addProperty("Name", str("d&1"));
    inst->addProperty("Caption", str("<none>"));
    inst->addProperty(
        "Codes", makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::UInt16, true),
                                           std::make_shared<const CVelaValue::ScalarArray>(
                                               CVelaValue::ScalarArray{std::uint64_t(1), {}})));
    inst->addProperty("Owner", CVelaValue::makeReference(owner));
    auto embedded = makeVELSmrPtr<CVelaObject>("TEST_Thing");
    embedded->addProperty("Name", str("e<1>"));
    inst->addProperty("Detail", CVelaValue::makeObject(embedded));
    inst->addProperty("Handler", CVelaValue::makeReference(owner));
    auto holder = nameOf("TARN_Holder", cimv2,
                         {{"Target", CVelaValue::makeReference(owner)}, {"Slot", str("1")}});

    auto error = makeVELSmrPtr<CVelaObject>("CIM_Error", nameOf("CIM_Error", cimv2));
    error->addProperty("Message", str("disk & co"));
    auto ex = makeVELSmrPtr<VelaBaseException>("Failed", "Op", "", "no <disk>", 6);
    ex->setInstances(makeVELSmrPtr<VelaBaseException::InstanceList>(
        std::vector<VELSmrPtr<IVelaObject>>{error, inst}));

    std::ostringstream os;
    CIMXMLUtil::streamMessageHeader(os, "42", "2.0", "2.4");
    os << "<MULTIRSP>\n";
    std::ostringstream body;
    body << "<IRETURNVALUE>";
    CIMXMLUtil::streamValueNamedInstance(body, inst, nullptr, true, deviceClass, true);
    body << "</IRETURNVALUE>";
    os << simple("EnumerateInstances", body.str());
    body.str("");
    body << "<IRETURNVALUE>";
    CIMXMLUtil::streamClass(body, deviceClass, nullptr, true, true, false);
    body << "</IRETURNVALUE>";
    os << simple("GetClass", body.str());
    body.str("");
    body << "<IRETURNVALUE>";
    CIMXMLUtil::streamQualifierDef(
        body, VELSmrPtr<tarn::IQualifierDef>(new tarn::CQualifierDef(
                  "Description", CVelaType::string, str("x"), tarn::QualifierScope::Any, 4)));
    CIMXMLUtil::streamQualifierDef(
        body, VELSmrPtr<tarn::IQualifierDef>(new tarn::CQualifierDef(
                  "ValueMap", CVelaType::get(CIMTypeId::String, true), nullptr, 8, 0)));
    body << "</IRETURNVALUE>";
    os << simple("EnumerateQualifiers", body.str());
    body.str("");
    body << "<IRETURNVALUE>";
    CIMXMLUtil::streamObjectPath(body, owner, true);
    CIMXMLUtil::streamObjectPath(body, holder, true);
    CIMXMLUtil::streamObjectPath(body, makeVELSmrPtr<CVelaInstanceName>("TEST_Thing", cimv2, true),
                                 true);
    body << "</IRETURNVALUE>";
    os << simple("AssociatorNames", body.str());
    body.str("");
    body << "<IRETURNVALUE>";
    CIMXMLUtil::streamValueClassObjectWithPath(body, deviceClass, cimv2, nullptr, true, false, true,
                                               true);
    CIMXMLUtil::streamValueObjectWithPath(body, inst, nullptr, true, nullptr, false);
    body << "</IRETURNVALUE>";
    os << simple("Associators", body.str());
    body.str("");
    CIMXMLUtil::streamError(body, ex);
    os << simple("GetInstance", body.str());
    body.str("");
    body << "<IRETURNVALUE>";
    CIMXMLUtil::streamInstanceWithPath(body, inst, nullptr, true, nullptr, false);
    body << "</IRETURNVALUE>";
    CIMXMLUtil::streamEnumerationContext(body, "ctx");
    CIMXMLUtil::streamEndOfSequence(body, false);
    os << simple("OpenEnumerateInstances", body.str());
    os << "<SIMPLERSP><METHODRESPONSE NAME=\"Reset\"><RETURNVALUE PARAMTYPE=\"uint32\">"
          "<VALUE>0</VALUE></RETURNVALUE>";
    CIMXMLUtil::streamParameter(
        os, VELSmrPtr<IVelaActualParameter>(new CVelaActualParameter("Note", str("a&b"))), false,
        true);
    CIMXMLUtil::streamParameter(os,
                                VELSmrPtr<IVelaActualParameter>(new CVelaActualParameter(
                                    "Peer", CVelaValue::makeReference(owner))),
                                false, true);
    os << "</METHODRESPONSE></SIMPLERSP>\n</MULTIRSP>";
    CIMXMLUtil::streamMessageTrailer(os);

    const std::filesystem::path file =
        std::filesystem::path(::testing::TempDir()) / "tarn_encoders_message.xml";
    std::ofstream(file) << os.str();
    const std::string command = "xmllint --noout --dtdvalid '" + dtd.string() + "' '" +
                                file.string() + "' 2>'" + file.string() + ".err'";
    std::system(command.c_str());
    std::ifstream errors(file.string() + ".err");
    std::vector<std::string> problems;
    for (std::string line; std::getline(errors, line);) {
        // "<file>:<line>: element ...: validity error : ..." without its position.
        if (auto at = line.find(": element "); at != std::string::npos) {
            problems.push_back(line.substr(at + 2));
        } else if (line.find("does not validate") == std::string::npos) {
            problems.push_back(line);
        }
    }
    // The only departures from the DTD are the deliberate ones: a
    // reference-qualified key carries no TYPE, and the two parameters of
    // pulled enumerations say TYPE rather than PARAMTYPE.
    EXPECT_EQ(problems,
              (std::vector<std::string>{
                  "element KEYVALUE: validity error : Element KEYVALUE does not carry attribute "
                  "TYPE",
                  "element PARAMVALUE: validity error : No declaration for attribute TYPE of "
                  "element PARAMVALUE",
                  "element PARAMVALUE: validity error : No declaration for attribute TYPE of "
                  "element PARAMVALUE",
              }))
        << os.str();
    std::filesystem::remove(file);
    std::filesystem::remove(file.string() + ".err");
}

}  // namespace
}  // namespace enctest
