// IPullOperation: the parameters every open and pull operation shares.
#pragma once

#include "vela/IEndOfSequence.h"
#include "vela/IEnumerationContext.h"
#include "vela/IMaxObjectCount.h"

class IPullOperation : public virtual IEnumerationContext,
                       public virtual IEndOfSequence,
                       public virtual IMaxObjectCount {};
