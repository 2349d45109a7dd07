#include "OperationFactory.h"

#include "AssociatorNamesOperation.h"
#include "AssociatorsOperation.h"
#include "CloseEnumerationOperation.h"
#include "CreateInstanceOperation.h"
#include "DeleteInstanceOperation.h"
#include "EnumerateClassNamesOperation.h"
#include "EnumerateClassesOperation.h"
#include "EnumerateInstanceNamesOperation.h"
#include "EnumerateInstancesOperation.h"
#include "EnumerateQualifiersOperation.h"
#include "ExecQueryOperation.h"
#include "GetClassOperation.h"
#include "GetInstanceOperation.h"
#include "GetPropertyOperation.h"
#include "GetQualifierOperation.h"
#include "InvokeMethodOperation.h"
#include "ModifyInstanceOperation.h"
#include "OpenAssociatorInstancePathsOperation.h"
#include "OpenAssociatorInstancesOperation.h"
#include "OpenEnumerateInstancePathsOperation.h"
#include "OpenEnumerateInstancesOperation.h"
#include "OpenQueryInstancesOperation.h"
#include "OpenReferenceInstancePathsOperation.h"
#include "OpenReferenceInstancesOperation.h"
#include "PullInstancePathsOperation.h"
#include "PullInstancesOperation.h"
#include "PullInstancesWithPathOperation.h"
#include "ReferenceNamesOperation.h"
#include "ReferencesOperation.h"
#include "SetPropertyOperation.h"
#include "vela/VELCIMStrings.h"

namespace cimxmlpa {

namespace {

using S = VELCIMStrings;

// The standard intrinsic names, in the order they are compared. Each name is
// served by the class of the same name with "Operation" appended.
const OperationFactory::Entry kIntrinsics[] = {
    {&S::GETINSTANCE, &OperationFactory::create<GetInstanceOperation>},
    {&S::ASSOCIATORNAMES, &OperationFactory::create<AssociatorNamesOperation>},
    {&S::REFERENCENAMES, &OperationFactory::create<ReferenceNamesOperation>},
    {&S::ENUMERATEINSTANCES, &OperationFactory::create<EnumerateInstancesOperation>},
    {&S::ENUMERATECLASSNAMES, &OperationFactory::create<EnumerateClassNamesOperation>},
    {&S::ENUMERATEINSTANCENAMES, &OperationFactory::create<EnumerateInstanceNamesOperation>},
    {&S::CREATEINSTANCE, &OperationFactory::create<CreateInstanceOperation>},
    {&S::MODIFYINSTANCE, &OperationFactory::create<ModifyInstanceOperation>},
    {&S::DELETEINSTANCE, &OperationFactory::create<DeleteInstanceOperation>},
    {&S::GETPROPERTY, &OperationFactory::create<GetPropertyOperation>},
    {&S::SETPROPERTY, &OperationFactory::create<SetPropertyOperation>},
    {&S::ASSOCIATORS, &OperationFactory::create<AssociatorsOperation>},
    {&S::REFERENCES, &OperationFactory::create<ReferencesOperation>},
    {&S::GETCLASS, &OperationFactory::create<GetClassOperation>},
    {&S::ENUMERATECLASSES, &OperationFactory::create<EnumerateClassesOperation>},
    {&S::GETQUALIFIER, &OperationFactory::create<GetQualifierOperation>},
    {&S::ENUMERATEQUALIFIERS, &OperationFactory::create<EnumerateQualifiersOperation>},
    {&S::OPENENUMERATEINSTANCES, &OperationFactory::create<OpenEnumerateInstancesOperation>},
    {&S::CLOSEENUMERATION, &OperationFactory::create<CloseEnumerationOperation>},
    {&S::PULLINSTANCESWITHPATH, &OperationFactory::create<PullInstancesWithPathOperation>},
    {&S::OPENENUMERATEINSTANCEPATHS,
     &OperationFactory::create<OpenEnumerateInstancePathsOperation>},
    {&S::OPENREFERENCEINSTANCES, &OperationFactory::create<OpenReferenceInstancesOperation>},
    {&S::OPENASSOCIATORINSTANCES, &OperationFactory::create<OpenAssociatorInstancesOperation>},
    {&S::OPENREFERENCEINSTANCEPATHS,
     &OperationFactory::create<OpenReferenceInstancePathsOperation>},
    {&S::OPENASSOCIATORINSTANCEPATHS,
     &OperationFactory::create<OpenAssociatorInstancePathsOperation>},
    {&S::PULLINSTANCEPATHS, &OperationFactory::create<PullInstancePathsOperation>},
    {&S::EXECQUERY, &OperationFactory::create<ExecQueryOperation>},
    {&S::OPENQUERYINSTANCES, &OperationFactory::create<OpenQueryInstancesOperation>},
    {&S::PULLINSTANCES, &OperationFactory::create<PullInstancesOperation>},
};

// The class of every extrinsic call.
constexpr OperationFactory::Creator kExtrinsic = &OperationFactory::create<InvokeMethodOperation>;

}  // namespace

std::span<const OperationFactory::Entry> OperationFactory::intrinsicTable() {
    return kIntrinsics;
}

OperationFactory::Operation OperationFactory::createIntrinsic(
    const VELString& methodName, IVelaOperationHandlerContext* context,
    VELSmrPtr<VELCIMMethodCall>& call, const VELSmrPtr<tarn::security::ISecurityToken>& token) {
    for (const Entry& e : kIntrinsics) {
        if (methodName.equals(e.methodName->view())) {
            return e.create ? e.create(context, call, token) : Operation();
        }
    }
    return Operation();
}

OperationFactory::Operation OperationFactory::createExtrinsic(
    IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
    const VELSmrPtr<tarn::security::ISecurityToken>& token) {
    return kExtrinsic(context, call, token);
}

}  // namespace cimxmlpa
