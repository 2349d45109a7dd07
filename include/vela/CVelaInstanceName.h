// CVelaInstanceName: the platform's instance name (object path).
#pragma once

#include <vector>

#include "vela/CVelaKeyBinding.h"
#include "vela/IVelaInstanceName.h"

class CVelaInstanceName : public IVelaInstanceName {
  public:
    CVelaInstanceName(VELString className, VELSmrPtr<IVelaNameSpacePath> nameSpacePath = nullptr,
                      bool isClassName = false);

    void addKeyBinding(const VELString& name, VELSmrPtr<IVelaValue> value);
    void setNameSpacePath(VELSmrPtr<IVelaNameSpacePath> path) { _path = std::move(path); }
    void setClassName(VELString className) { _className = std::move(className); }

    // Parses the text form "[//host/]namespace:Class.key=value,..." or
    // "Class.key=value" or "Class" (a class name). Key values: "quoted
    // strings" (with \" and \\ escapes), TRUE/FALSE, numbers, and nested
    // references in quotes. Numbers stay untyped numeric text; strings stay
    // untyped string text. Throws VelaBaseException ("InvalidData") on bad text.
    static VELSmrPtr<IVelaInstanceName> parse(const VELString& text);

    // Writes one key value in canonical form (used by toString).
    static void writeCanonicalValue(std::ostream& os, const IVelaValue& value);
    // Writes text in double quotes, with \" and \\ escaped, as canonical keys hold strings.
    static void writeQuoted(std::ostream& os, std::string_view text);
    // True, with its text, for a set key value whose canonical form is that
    // text quoted (a string, datetime or char16, or untyped text that is
    // neither numeric nor boolean): two such values are equal keys exactly
    // when their texts are equal.
    static bool quotedKeyText(const IVelaValue& value, VELString& text);

    const VELString& getClassName() const override { return _className; }
    const VELSmrPtr<IVelaNameSpacePath>& getNameSpacePath() const override { return _path; }
    bool isClassName() const override { return _isClassName; }
    std::size_t getKeyBindingCount() const override { return _keys.size(); }
    VELSmrPtr<IVelaKeyBinding> getKeyBinding(std::size_t i) const override;
    VELString toString() const override;
    VELString getCanonicalKeys() const override;
    bool equals(const IVelaInstanceName& other) const override;

  private:
    VELString _className;
    VELSmrPtr<IVelaNameSpacePath> _path;
    bool _isClassName;
    std::vector<VELSmrPtr<IVelaKeyBinding>> _keys;
};
