// IOpenEnumerateInstancesOperation: opens an enumeration of the instances of a class.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/IVelaEnumerateInstancesOperation.h"

class IOpenEnumerateInstancesOperation : public virtual IPulledEnumOpenOperation,
                                         public virtual IVelaEnumerateInstancesOperation {};
