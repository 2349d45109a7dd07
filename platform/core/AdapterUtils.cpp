#include "vela/AdapterUtils.h"

#include "tarn/TraceLog.h"

void AdapterUtils::log(std::string_view source, std::string_view message, int severity) {
    tarn::TraceLog::write(source, message, severity);
}

bool AdapterUtils::isLogged(int severity) { return tarn::TraceLog::wouldWrite(severity); }
