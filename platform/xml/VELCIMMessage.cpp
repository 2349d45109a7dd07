#include "vela/VELCIMMessage.h"

#include <exception>
#include <new>
#include <vector>

#include "CIMXMLDocument.h"
#include "CIMXMLReader.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaValue.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaBaseException.h"

using S = VELCIMStrings;
using tarn::CIMXMLReader;

// Reads the message envelope; the reader does everything inside the calls.
struct VELCIMMessage::Parser {
    using Elements = CIMXMLReader::Elements;
    using Attributes = CIMXMLReader::Attributes;
    using Params = std::vector<VELSmrPtr<VELCIMParamValue>>;

    static void parse(VELCIMMessage& m, std::string& body) {
        // The body may come with the NUL its reader put after it.
        while (!body.empty() && body.back() == '\0') {
            body.pop_back();
        }
        if (body.empty()) {
            throw VelaBaseException("InvalidData", "VELCIMMessage", "parse", "the body is empty",
                                    4);
        }
        tarn::CIMXMLDocument document(body.data(), body.size());
        CIMXMLReader r;
        pugi::xml_node cim = document.root();
        if (std::string_view(cim.name()) != S::ELEMENT_CIM.view()) {
            r.fail(cim, "the root element is <" + VELString(cim.name()).substring(0, 64) +
                            ">, not <CIM>: this is not a CIM-XML document");
        }
        Attributes a(r, cim);
        m._cimVersion = VELString(a.required("CIMVERSION"));
        m._dtdVersion = VELString(a.required("DTDVERSION"));
        Elements top(r, cim);
        if (top.at(S::ELEMENT_DECLARATION.view())) {
            // Declarations are well-formed CIM-XML but ask for nothing.
            top.take();
            top.end();
            return;
        }
        pugi::xml_node message = top.expect(S::ELEMENT_MESSAGE.view());
        top.end();
        Attributes ma(r, message);
        m._id = VELString(ma.required("ID"));
        m._protocolVersion = VELString(ma.required("PROTOCOLVERSION"));

        Elements body_(r, message);
        pugi::xml_node content = body_.current();
        std::string_view kind = body_.name();
        if (!content) {
            r.fail(message, "<MESSAGE> is empty");
        } else if (kind == S::ELEMENT_SIMPLEREQ.view()) {
            m._simpleRequests = makeVELSmrPtr<MethodCallList>();
            m._simpleRequests->append(simpleRequest(r, content));
        } else if (kind == S::ELEMENT_MULTIREQ.view()) {
            m._multi = true;
            m._simpleRequests = multiRequest(r, content, S::ELEMENT_SIMPLEREQ.view());
        } else if (kind == S::ELEMENT_SIMPLEEXPREQ.view()) {
            m._exportRequests = makeVELSmrPtr<MethodCallList>();
            m._exportRequests->append(simpleExportRequest(r, content));
        } else if (kind == S::ELEMENT_MULTIEXPREQ.view()) {
            m._multi = true;
            m._exportRequests = multiRequest(r, content, S::ELEMENT_SIMPLEEXPREQ.view());
        } else if (kind != S::ELEMENT_SIMPLERSP.view() && kind != S::ELEMENT_MULTIRSP.view() &&
                   kind != S::ELEMENT_SIMPLEEXPRSP.view() &&
                   kind != S::ELEMENT_MULTIEXPRSP.view()) {
            // Responses are CIM-XML too, but hold no request to run.
            body_.end();
        }
        body_.take();
        body_.end();
    }

    static VELSmrPtr<MethodCallList> multiRequest(CIMXMLReader& r, pugi::xml_node multi,
                                                  std::string_view simple) {
        auto list = makeVELSmrPtr<MethodCallList>();
        Elements children(r, multi);
        while (children.at(simple)) {
            pugi::xml_node request = children.take();
            list->append(simple == S::ELEMENT_SIMPLEREQ.view() ? simpleRequest(r, request)
                                                               : simpleExportRequest(r, request));
            multi.remove_child(request);
        }
        children.end();
        if (list->entries() < 2) {
            r.fail(multi, "<" + VELString(multi.name()) + "> needs at least two <" +
                              VELString(simple) + "> elements");
        }
        return list;
    }

    static void correlators(CIMXMLReader& r, Elements& children) {
        while (children.at(S::ELEMENT_CORRELATOR.view())) {
            r.readCorrelator(children.take());
        }
    }

    static VELSmrPtr<VELCIMMethodCall> simpleRequest(CIMXMLReader& r, pugi::xml_node request) {
        Elements children(r, request);
        correlators(r, children);
        VELSmrPtr<VELCIMMethodCall> call;
        if (children.at(S::ELEMENT_IMETHODCALL.view())) {
            call = intrinsicCall(r, children.take());
        } else if (children.at(S::ELEMENT_METHODCALL.view())) {
            call = extrinsicCall(r, children.take());
        } else {
            children.missing("an <IMETHODCALL> or a <METHODCALL>");
        }
        children.end();
        return call;
    }

    static VELSmrPtr<VELCIMMethodCall> simpleExportRequest(CIMXMLReader& r,
                                                           pugi::xml_node request) {
        Elements children(r, request);
        correlators(r, children);
        pugi::xml_node call = children.expect(S::ELEMENT_EXPMETHODCALL.view());
        children.end();
        Attributes a(r, call);
        auto result = makeVELSmrPtr<VELCIMMethodCall>(r.name(a, call, "NAME"),
                                                      VELCIMMethodCall::Kind::Export);
        Elements params(r, call);
        while (params.at(S::ELEMENT_EXPPARAMVALUE.view())) {
            pugi::xml_node p = params.take();
            result->addParameter(r.readExpParamValue(p));
            call.remove_child(p);
        }
        params.end();
        return result;
    }

    // The parameters of a call (each removed from the tree once read), and
    // whether it asks for an asynchronous answer: an earlier form of CIM-XML
    // ends such a call with a RESPONSEDESTINATION naming where to send it.
    template <class Read>
    static bool parameters(CIMXMLReader& r, pugi::xml_node call, Elements& children,
                           std::string_view element, Params& params, Read&& read) {
        while (children.at(element)) {
            pugi::xml_node p = children.take();
            params.push_back(read(p));
            call.remove_child(p);
        }
        if (!children.at(S::ELEMENT_RESPONSEDESTINATION.view())) {
            return false;
        }
        Elements destination(r, children.take());
        r.readInstance(destination.expect(S::ELEMENT_INSTANCE.view()));
        destination.end();
        return true;
    }

    static VELSmrPtr<VELCIMMethodCall> intrinsicCall(CIMXMLReader& r, pugi::xml_node call) {
        Attributes a(r, call);
        VELString name = r.name(a, call, "NAME");
        Elements children(r, call);
        VELString ns =
            r.readLocalNameSpacePath(children.expect(S::ELEMENT_LOCALNAMESPACEPATH.view()));
        VELSmrPtr<IVelaNameSpacePath> path(new CVelaNameSpacePath({}, ns));
        Params params;
        bool async = parameters(r, call, children, S::ELEMENT_IPARAMVALUE.view(), params,
                                [&](pugi::xml_node p) { return r.readIParamValue(p); });
        children.end();
        auto result = makeVELSmrPtr<VELCIMMethodCall>(
            std::move(name), VELCIMMethodCall::Kind::Intrinsic, path->getNameSpace(), async);
        result->setNameSpacePath(path);
        for (auto& p : params) {
            result->addParameter(p);
        }
        return result;
    }

    static VELSmrPtr<VELCIMMethodCall> extrinsicCall(CIMXMLReader& r, pugi::xml_node call) {
        Attributes a(r, call);
        VELString name = r.name(a, call, "NAME");
        Elements children(r, call);
        VELSmrPtr<IVelaInstanceName> target;
        if (children.at(S::ELEMENT_LOCALINSTANCEPATH.view())) {
            target = r.readLocalInstancePath(children.take());
        } else if (children.at(S::ELEMENT_LOCALCLASSPATH.view())) {
            target = r.readLocalClassPath(children.take());
        } else {
            children.missing("a <LOCALINSTANCEPATH> or a <LOCALCLASSPATH> as its target");
        }
        Params params;
        bool async = parameters(r, call, children, S::ELEMENT_PARAMVALUE.view(), params,
                                [&](pugi::xml_node p) { return r.readParamValue(p); });
        children.end();
        const VELSmrPtr<IVelaNameSpacePath>& path = target->getNameSpacePath();
        auto result = makeVELSmrPtr<VELCIMMethodCall>(
            std::move(name), VELCIMMethodCall::Kind::Extrinsic, path->getNameSpace(), async);
        result->setNameSpacePath(path);
        result->setTarget(makeVELSmrPtr<VELCIMParamValue>(
            S::OBJECTNAME, CVelaValue::makeReference(target), VELString("reference")));
        for (auto& p : params) {
            result->addParameter(p);
        }
        return result;
    }
};

VELCIMMessage::VELCIMMessage(std::string body) {
    try {
        Parser::parse(*this, body);
        _wellFormed = true;
    } catch (const VelaBaseException& e) {
        _error = e.getMessage();
    } catch (const std::bad_alloc&) {
        _error = "not enough memory to parse the request";
    } catch (const std::exception& e) {
        _error = VELString("the request could not be parsed: ") + e.what();
    }
    // The tree is gone; the text it was parsed from goes now too.
    std::string().swap(body);
    if (!_wellFormed) {
        _multi = false;
        _simpleRequests = nullptr;
        _exportRequests = nullptr;
    }
}

VELCIMMessage::~VELCIMMessage() = default;
