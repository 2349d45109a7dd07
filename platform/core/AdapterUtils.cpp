#include "vela/AdapterUtils.h"

#include "tarn/TraceLog.h"
#include "vela/CVelaValue.h"

void AdapterUtils::log(std::string_view source, std::string_view message, int severity) {
    tarn::TraceLog::write(source, message, severity);
}

bool AdapterUtils::isLogged(int severity) {
    return tarn::TraceLog::wouldWrite(severity);
}

VELSmrPtr<VELValSlist<VELString>> AdapterUtils::convert(const VELSmrPtr<IVelaValue>& value,
                                                        bool skipNulls) {
    if (value.isNull() || !value->isSet() || !value->getType()->isArray()) {
        return nullptr;
    }
    auto list = makeVELSmrPtr<VELValSlist<VELString>>();
    if (const auto* cv = dynamic_cast<const CVelaValue*>(value.get())) {
        // Straight from the compact element store, without element objects.
        auto elements = cv->elements();
        list->reserve(elements->size());
        for (const auto& e : *elements) {
            if (const auto* s = std::get_if<VELString>(&e)) {
                list->append(*s);
            } else if (!skipNulls) {
                list->append(VELString());
            }
        }
        return list;
    }
    // Held here: a range over the list of a temporary handle would outlive it.
    const auto elements = value->getArray();
    for (const auto& e : *elements) {
        if (e.isNull() || !e->isSet()) {
            if (!skipNulls) {
                list->append(VELString());
            }
        } else {
            list->append(e->toString());
        }
    }
    return list;
}
