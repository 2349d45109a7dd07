// PulledEnumOpenOperationBase: the base of the operations that open a pulled enumeration.
#pragma once

#include "vela/IPulledEnumOpenOperation.h"
#include "vela/OpenOperationBase.h"
#include "vela/PullOperationBase.h"

class PulledEnumOpenOperationBase : public virtual IPulledEnumOpenOperation,
                                    public virtual PullOperationBase,
                                    public virtual OpenOperationBase {};
