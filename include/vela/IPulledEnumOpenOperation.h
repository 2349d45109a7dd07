// IPulledEnumOpenOperation: an operation that opens a pulled enumeration and returns its first
// batch.
#pragma once

#include "vela/IOpenOperation.h"
#include "vela/IPullOperation.h"

class IPulledEnumOpenOperation : public virtual IPullOperation, public virtual IOpenOperation {};
