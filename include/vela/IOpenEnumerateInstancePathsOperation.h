// IOpenEnumerateInstancePathsOperation: opens an enumeration of the instance paths of a class.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaEnumerateInstanceNamesOperation.h"

class IOpenEnumerateInstancePathsOperation : public virtual IPulledEnumOpenOperation,
                                             public virtual IVelaEnumerateInstanceNamesOperation {};
