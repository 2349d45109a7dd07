// tarn::InstanceChecker: types and checks instances and instance names
// against their class before the repository stores or looks them up.
//
// Values are typed from the class: untyped request text is parsed, integers
// convert between integer types when in range (CVelaValue::convertTo);
// anything else that does not fit is a type mismatch (code 13). References
// have their keys typed by the referenced class when it is known, so that
// the same instance is named by the same text whatever the order and case of
// its keys or the form of its values. A string property qualified
// EmbeddedInstance or EmbeddedObject takes embedded instances (of the named
// class or a subclass); a string key qualified TARN_ReferenceKey takes a
// reference, as a reference value or as path text.
//
// The canonical key text of an instance is that of
// IVelaInstanceName::getCanonicalKeys (keys sorted by name without regard to
// case, names in lower case), with references written in a normal form: no
// host (a path names the same instance whatever host it carries), the
// namespace left out when it is the instance's own, namespace and class
// names in lower case, and their own keys canonical. References are stored
// without host and always with their namespace.
#pragma once

#include "repository/SchemaSnapshot.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaObject.h"

namespace tarn {

class InstanceChecker {
  public:
    struct NewInstance {
        // Every property of the class in class order, with the path.
        VELSmrPtr<CVelaObject> instance;
        VELSmrPtr<CVelaInstanceName> path;
        VELString keys;
    };

    InstanceChecker(const SchemaSnapshot& schema, const SchemaSnapshot::NameSpace& nameSpace)
        : _schema(schema), _ns(nameSpace) {}

    // A new instance of the class from what a client gave: its properties
    // typed, the class defaults for those it leaves out, its keys from its
    // properties or else from its path. Throws VelaBaseException: 4 for an
    // abstract class, a property the class lacks, a property given twice or
    // a key without value; 13 for a value of the wrong type; 7 for an
    // embedded class.
    NewInstance checkNew(const ClassLayout& layout, const IVelaObject& given) const;
    // The canonical key text of a name of an instance of the class. Throws
    // code 4 for a key the class lacks, a missing key or a key value that
    // cannot be of its property's type.
    VELString checkName(const ClassLayout& layout, const IVelaInstanceName& name) const;
    // The normal form of a reference (see above) relative to this namespace:
    // the text by which the reference index knows the instance it names. The
    // name is typed first; 4 for keys that do not fit its class.
    VELString referenceText(const VELSmrPtr<IVelaInstanceName>& name) const;
    // The normal form of a reference that is already typed, relative to the
    // namespace named ownNameSpace.
    static VELString normalForm(const IVelaInstanceName& typed, const VELString& ownNameSpace);
    // The value typed as property i of the class stores it (an unset value
    // for null). Throws as checkNew does.
    VELSmrPtr<IVelaValue> typeValue(const ClassLayout& layout, std::size_t i,
                                    const VELSmrPtr<IVelaValue>& value) const;
    // The canonical key text from the typed values of an instance (indexed
    // by property position).
    VELString canonicalKeys(const ClassLayout& layout,
                            const std::vector<VELSmrPtr<IVelaValue>>& values) const;
    VELSmrPtr<CVelaInstanceName> makePath(const ClassLayout& layout,
                                          const std::vector<VELSmrPtr<IVelaValue>>& values) const;
    // A new instance object from typed values (indexed by property position).
    VELSmrPtr<CVelaObject> makeInstance(const ClassLayout& layout,
                                        const std::vector<VELSmrPtr<IVelaValue>>& values,
                                        VELSmrPtr<IVelaInstanceName> path) const;

  private:
    VELSmrPtr<IVelaValue> typeFor(const ClassLayout& layout, std::size_t i,
                                  const VELSmrPtr<IVelaValue>& value, std::size_t depth) const;
    VELSmrPtr<IVelaInstanceName> typeReference(const VELSmrPtr<IVelaInstanceName>& ref,
                                               const VELString& expectedClass,
                                               std::size_t depth) const;
    VELSmrPtr<IVelaValue> toEmbedded(const ClassLayout& layout, std::size_t i,
                                     const VELSmrPtr<IVelaValue>& value) const;

    const SchemaSnapshot& _schema;
    const SchemaSnapshot::NameSpace& _ns;
};

}  // namespace tarn
