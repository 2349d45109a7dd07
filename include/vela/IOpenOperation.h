// IOpenOperation: the parameters of the operations that open an enumeration.
#pragma once

#include "vela/IContinueOnError.h"
#include "vela/IFilterQuery.h"
#include "vela/IFilterQueryLanguage.h"
#include "vela/IOperationTimeout.h"

class IOpenOperation : public virtual IFilterQueryLanguage,
                       public virtual IFilterQuery,
                       public virtual IOperationTimeout,
                       public virtual IContinueOnError {};
