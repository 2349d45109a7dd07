// Typing of created instances: every CIM type from untyped request text and
// from typed values, the values refused for each, and that what is stored
// reads back exactly (each read decodes the stored row). What text each type
// accepts is ValueText's (tests/unit/cim); here one refusal of text stands
// for the rest. A reopened repository reads its classes back faithfully
// (Storage.TheDmtfSchemaIsStoredAndReadBackFaithfully) and its instances
// (Durability).
#include "RepositoryTestSupport.h"

namespace repotest {
namespace {

struct TypeCase {
    const char* property;
    VELSmrPtr<IVelaValue> given;
    // Expected text of the stored value; nullptr when the create must fail with 13.
    const char* stored;
};

std::vector<TypeCase> typeCases() {
    auto untypedArray = [](std::vector<const char*> texts) {
        auto a = std::make_shared<CVelaValue::ScalarArray>();
        for (const char* t : texts) {
            if (t) {
                a->emplace_back(std::in_place_type<VELString>, t);
            } else {
                a->emplace_back();
            }
        }
        return CVelaValue::makeUntypedArray(a);
    };
    auto typedArray = [](CIMTypeId id, std::vector<std::uint64_t> values) {
        auto a = std::make_shared<CVelaValue::ScalarArray>();
        for (auto v : values) {
            a->emplace_back(std::in_place_type<std::uint64_t>, v);
        }
        return VELSmrPtr<IVelaValue>(makeVELSmrPtr<CVelaValue>(
            CVelaType::get(id, true), std::shared_ptr<const CVelaValue::ScalarArray>(a)));
    };
    return {
        {"B", text("true"), "TRUE"},
        {"B", CVelaValue::makeBoolean(false), "FALSE"},
        {"B", CVelaValue::makeUint8(1), nullptr},
        {"S", text(" keeps its blanks "), " keeps its blanks "},
        {"S", CVelaValue::makeString("typed"), "typed"},
        {"S", CVelaValue::makeBoolean(true), nullptr},
        {"C", text("\xc3\xa9"), "\xc3\xa9"},
        {"C", CVelaValue::makeString("x"), "x"},
        {"D", text("20240229235959.123456-300"), "20240229235959.123456-300"},
        {"D", text("00000001020304.000000:000"), "00000001020304.000000:000"},
        {"D", CVelaValue::makeString("20230101000000.000000+000"), "20230101000000.000000+000"},
        {"U8", text("255"), "255"},
        {"U8", text("256"), nullptr},
        {"U8", CVelaValue::makeSint32(200), "200"},
        {"S8", text("-128"), "-128"},
        {"U16", text("65535"), "65535"},
        {"S16", text("-32768"), "-32768"},
        {"U32", text("4294967295"), "4294967295"},
        {"U32", CVelaValue::makeSint32(-5), nullptr},
        {"U32", CVelaValue::makeString("5"), nullptr},
        {"U32", CVelaValue::makeReal64(5.0), nullptr},
        {"S32", text("-2147483648"), "-2147483648"},
        {"U64", text("18446744073709551615"), "18446744073709551615"},
        {"U64", CVelaValue::makeUint8(7), "7"},
        {"S64", text("-9223372036854775808"), "-9223372036854775808"},
        {"R32", text("0.1"), "0.1"},
        {"R32", text("-INF"), "-INF"},
        {"R32", CVelaValue::makeUint32(3), "3"},
        {"R64", text("2.5e-300"), "2.5e-300"},
        {"R64", text("NaN"), "NaN"},
        {"R64", CVelaValue::makeString("1.5"), nullptr},
        {"A8", untypedArray({"1", "2", nullptr, "255"}), "{1,2,NULL,255}"},
        {"A8", untypedArray({}), "{}"},
        {"A8", untypedArray({"1", "300"}), nullptr},
        {"A8", text("1"), nullptr},
        {"A8", typedArray(CIMTypeId::UInt16, {7, 8}), "{7,8}"},
        {"AS", untypedArray({"a,b", "", "c"}), "{a,b,,c}"},
        {"Fixed", untypedArray({"1", "2", "3"}), "{1,2,3}"},
        {"Fixed", untypedArray({"1", "2", "3", "4"}), nullptr},
        {"Emb", text("<INSTANCE CLASSNAME=\"T_Level1\"/>"), nullptr},
        {"Emb", CVelaValue::makeUint8(1), nullptr},
    };
}

class TypeCheck : public RepositoryTest {};

TEST_F(TypeCheck, EveryTypeIsTypedFromTextOrConvertedOrRefused) {
    int n = 0;
    std::size_t stored = 0;
    for (const auto& c : typeCases()) {
        std::string id = "case" + std::to_string(n++);
        auto obj = instance("T_AllTypes", {{"Id", text(id.c_str())}, {c.property, c.given}});
        std::string message;
        int code = codeOf([&] { repo->createInstance(kNs, *obj); }, &message);
        if (!c.stored) {
            EXPECT_EQ(code, 13) << c.property << " = " << c.given->toString() << ": " << message;
            EXPECT_THAT(message, HasSubstr(std::string("property ") + c.property));
            continue;
        }
        ASSERT_EQ(code, 0) << c.property << " = " << c.given->toString() << ": " << message;
        auto got = repo->getInstance(kNs, *name("T_AllTypes", {{"Id", text(id.c_str())}}));
        auto p = got->getProperty(c.property);
        EXPECT_FALSE(p->getValue()->isUntyped()) << c.property;
        EXPECT_EQ(p->getValue()->getType()->getTypeId(), p->getType()->getTypeId()) << c.property;
        EXPECT_EQ(valueText(*got, c.property), c.stored) << c.property;
        ++stored;
    }
    EXPECT_EQ(repo->countInstances(kNs, "T_AllTypes", false), stored);
}

TEST_F(TypeCheck, EmbeddedInstancesMustBeInstancesOfTheNamedClass) {
    auto level3 =
        instance("T_Level3", {{"Id", text("inner")}, {"Count", CVelaValue::makeUint32(4)}});
    auto other = instance("T_Other", {{"Id", text("x")}});
    repo->createInstance(kNs, *instance("T_AllTypes", {{"Id", text("e1")},
                                                       {"Emb", CVelaValue::makeObject(level3)}}));
    auto got = repo->getInstance(kNs, *name("T_AllTypes", {{"Id", text("e1")}}));
    auto emb = got->getProperty("Emb");
    EXPECT_TRUE(emb->getType()->isEmbeddedObject());
    auto inner = emb->getValue()->getObject();
    EXPECT_EQ(inner->getClassName(), "T_Level3");
    EXPECT_EQ(inner->getProperty("Count")->getValue()->getUnsigned(), 4u);
    EXPECT_EQ(codeOf([&] {
                  repo->createInstance(
                      kNs, *instance("T_AllTypes",
                                     {{"Id", text("e2")}, {"Emb", CVelaValue::makeObject(other)}}));
              }),
              13);
    // An EmbeddedObject array takes instances of any class.
    auto list = makeVELSmrPtr<IVelaValue::ValueList>();
    list->append(CVelaValue::makeObject(other));
    list->append(CVelaValue::makeObject(level3));
    repo->createInstance(
        kNs, *instance("T_AllTypes", {{"Id", text("e3")},
                                      {"Objs", VELSmrPtr<IVelaValue>(makeVELSmrPtr<CVelaValue>(
                                                   list, CVelaType::object))}}));
    got = repo->getInstance(kNs, *name("T_AllTypes", {{"Id", text("e3")}}));
    EXPECT_EQ(got->getProperty("Objs")->getValue()->getArraySize(), 2u);
    EXPECT_EQ(got->getProperty("Objs")->getValue()->getArray()->at(1)->getObject()->getClassName(),
              "T_Level3");
}

}  // namespace
}  // namespace repotest
