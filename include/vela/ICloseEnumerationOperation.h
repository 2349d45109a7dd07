// ICloseEnumerationOperation: closes an open enumeration before its end.
#pragma once

#include "vela/IEnumerationContext.h"

class ICloseEnumerationOperation : public virtual IEnumerationContext {};
