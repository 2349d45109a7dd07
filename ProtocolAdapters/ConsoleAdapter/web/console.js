// The TARN web console. It speaks CIM-XML to the server it was loaded from
// (POST /cimom) with the credentials the browser keeps for it, and reads
// GET /metrics for the status page. Lists are read page by page through
// pulled enumerations, so no view ever holds more than a page of a class's
// instances.
"use strict";

const PAGE = 25;
const STATUS = ["CIM_SUCCESS", "CIM_ERR_FAILED", "CIM_ERR_ACCESS_DENIED", "CIM_ERR_INVALID_NAMESPACE",
  "CIM_ERR_INVALID_PARAMETER", "CIM_ERR_INVALID_CLASS", "CIM_ERR_NOT_FOUND", "CIM_ERR_NOT_SUPPORTED",
  "CIM_ERR_CLASS_HAS_CHILDREN", "CIM_ERR_CLASS_HAS_INSTANCES", "CIM_ERR_INVALID_SUPERCLASS",
  "CIM_ERR_ALREADY_EXISTS", "CIM_ERR_NO_SUCH_PROPERTY", "CIM_ERR_TYPE_MISMATCH",
  "CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED", "CIM_ERR_INVALID_QUERY", "CIM_ERR_METHOD_NOT_AVAILABLE",
  "CIM_ERR_METHOD_NOT_FOUND", "", "", "CIM_ERR_NAMESPACE_NOT_EMPTY",
  "CIM_ERR_INVALID_ENUMERATION_CONTEXT", "CIM_ERR_INVALID_OPERATION_TIMEOUT",
  "CIM_ERR_PULL_HAS_BEEN_ABANDONED", "CIM_ERR_PULL_CANNOT_BE_ABANDONED",
  "CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED", "CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED",
  "CIM_ERR_SERVER_LIMITS_EXCEEDED", "CIM_ERR_SERVER_IS_SHUTTING_DOWN"];

const state = { ns: "root/cimv2", classList: new Map(), classDefs: new Map(), openEnum: null };

// ---------------------------------------------------------------- DOM helpers

const $ = (id) => document.getElementById(id);

// h("tag", {attributes, onclick...}, children...): an element.
function h(tag, attrs, ...children) {
  const el = document.createElement(tag);
  for (const [k, v] of Object.entries(attrs || {})) {
    if (v === undefined || v === null || v === false) continue;
    if (k.startsWith("on")) el.addEventListener(k.slice(2), v);
    else if (k === "dataset") Object.assign(el.dataset, v);
    else el.setAttribute(k, v === true ? "" : v);
  }
  for (const c of children.flat(Infinity)) {
    if (c !== undefined && c !== null && c !== false) el.append(c instanceof Node ? c : String(c));
  }
  return el;
}

function table(headers, rows) {
  return h("table", {}, h("tr", {}, headers.map((t) => h("th", {}, t))),
    rows.map((r) => h("tr", {}, r.map((c) => (c instanceof Node && c.tagName === "TD" ? c : h("td", {}, c))))));
}

function view(...children) {
  const v = $("view");
  v.replaceChildren(...children.flat(Infinity));
  v.scrollTop = 0;
  return v;
}

function showError(e) {
  const box = $("error");
  box.textContent = e instanceof CIMError ? e.message : "Error: " + (e && e.message ? e.message : e);
  box.hidden = false;
}

function clearError() {
  $("error").hidden = true;
  $("error").textContent = "";
}

// Runs an action of the user: clears the last error, shows the next one.
function act(fn) {
  return async (ev) => {
    if (ev && ev.preventDefault) ev.preventDefault();
    clearError();
    try {
      await fn(ev);
    } catch (e) {
      showError(e);
    }
  };
}

// ---------------------------------------------------------------- CIM-XML

class CIMError extends Error {
  constructor(code, description) {
    super(`${STATUS[code] || "CIM status " + code} (${code}): ${description || ""}`);
    this.code = code;
  }
}

const esc = (s) => String(s).replace(/[&<>"]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" }[c]));
const kids = (el, ...tags) => (el ? [...el.children].filter((c) => tags.includes(c.tagName)) : []);
const kid = (el, ...tags) => kids(el, ...tags)[0];
const serialize = (el) => new XMLSerializer().serializeToString(el);

function localNamespace(ns) {
  return "<LOCALNAMESPACEPATH>" + ns.split("/").filter(Boolean).map((n) => `<NAMESPACE NAME="${esc(n)}"/>`).join("") +
    "</LOCALNAMESPACEPATH>";
}

let messageId = 0;

// Absolute, from the origin: a page opened with credentials in its URL
// cannot fetch relative URLs, which would carry them.
const serverUrl = (path) => new URL(path, window.location.origin).href;

// Posts one method call; returns its response element (IMETHODRESPONSE or
// METHODRESPONSE) or throws CIMError with the server's status and message.
async function call(methodName, objectHeader, callXml) {
  const body = '<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0">' +
    `<MESSAGE ID="${++messageId}" PROTOCOLVERSION="1.0"><SIMPLEREQ>${callXml}</SIMPLEREQ></MESSAGE></CIM>`;
  const r = await fetch(serverUrl("/cimom"), {
    method: "POST",
    credentials: "same-origin",
    headers: {
      "Content-Type": "application/xml; charset=utf-8",
      // The adapter accepts only these, whatever the browser's own settings.
      Accept: "application/xml",
      "Accept-Language": "en-us",
      CIMOperation: "MethodCall",
      CIMMethod: encodeURIComponent(methodName),
      CIMObject: encodeURIComponent(objectHeader).replace(/%2F/g, "/").replace(/%3A/g, ":"),
    },
    body,
  });
  if (r.status !== 200) {
    const why = r.headers.get("CIMError") || r.headers.get("TARNErrorDetail") || r.statusText;
    throw new Error(`HTTP ${r.status}: ${why}` + (r.status === 401 ? " (log in again: reload the page)" : ""));
  }
  const doc = new DOMParser().parseFromString(await r.text(), "application/xml");
  const response = doc.querySelector("IMETHODRESPONSE, METHODRESPONSE");
  if (!response) throw new Error("The server's answer is not a CIM-XML method response");
  const error = kid(response, "ERROR");
  if (error) throw new CIMError(Number(error.getAttribute("CODE")), error.getAttribute("DESCRIPTION"));
  return response;
}

// An intrinsic operation: params is a list of [name, xml of the value].
function imethod(name, params, ns = state.ns) {
  const ps = params.filter((p) => p[1] !== undefined)
    .map(([n, v]) => `<IPARAMVALUE NAME="${n}">${v}</IPARAMVALUE>`).join("");
  return call(name, ns, `<IMETHODCALL NAME="${name}">${localNamespace(ns)}${ps}</IMETHODCALL>`);
}

const xv = (v) => `<VALUE>${esc(v)}</VALUE>`;
const xbool = (b) => xv(b ? "TRUE" : "FALSE");
const xclass = (c) => `<CLASSNAME NAME="${esc(c)}"/>`;

// ---------------------------------------------------------------- values and paths

// A path: {ns, cls, keys: [[name, text]], xml: its INSTANCENAME element}.
function parsePath(el, ns) {
  if (!el) return null;
  if (el.tagName === "VALUE.REFERENCE") el = el.firstElementChild;
  let name = el;
  if (el.tagName === "INSTANCEPATH" || el.tagName === "LOCALINSTANCEPATH") {
    const nsEl = el.querySelector("LOCALNAMESPACEPATH");
    if (nsEl) ns = kids(nsEl, "NAMESPACE").map((n) => n.getAttribute("NAME")).join("/");
    name = kid(el, "INSTANCENAME");
  }
  if (!name || name.tagName !== "INSTANCENAME") return null;
  const keys = kids(name, "KEYBINDING").map((kb) => {
    const v = kid(kb, "KEYVALUE", "VALUE.REFERENCE");
    if (!v) return [kb.getAttribute("NAME"), ""];
    if (v.tagName === "KEYVALUE") {
      const t = v.getAttribute("VALUETYPE") || "string";
      return [kb.getAttribute("NAME"), v.textContent, t === "string"];
    }
    const p = parsePath(v, ns);
    return [kb.getAttribute("NAME"), p ? pathText(p) : "?"];
  });
  const direct = kid(name, "KEYVALUE", "VALUE.REFERENCE");
  if (direct) keys.push(["", direct.textContent]);
  return { ns, cls: name.getAttribute("CLASSNAME"), keys, xml: name };
}

// Class.Key="text",Key=12: strings quoted (with \ before " and \), numbers
// and booleans bare, as a reference is typed in the forms.
const pathText = (p) => `${p.cls}.${p.keys.map(([k, v, quoted]) => (quoted === false ? `${k}=${v}` : `${k}="${v.replace(/["\\]/g, "\\$&")}"`)).join(",")}`;

function pathLink(p) {
  return h("a", { class: "path", onclick: act(() => showInstance(p)) }, pathText(p));
}

// A value element's content: text, a list of texts, or a path.
function parseValue(el, ns) {
  const v = kid(el, "VALUE", "VALUE.ARRAY", "VALUE.REFERENCE", "VALUE.REFARRAY");
  if (!v) return null;
  if (v.tagName === "VALUE") return v.textContent;
  if (v.tagName === "VALUE.REFERENCE") return parsePath(v, ns);
  return kids(v, "VALUE", "VALUE.REFERENCE", "VALUE.NULL").map((x) =>
    x.tagName === "VALUE.REFERENCE" ? parsePath(x, ns) : x.tagName === "VALUE.NULL" ? null : x.textContent);
}

function showValue(v) {
  if (v === null || v === undefined) return h("span", { class: "muted" }, "NULL");
  if (Array.isArray(v)) return h("span", {}, "{", v.map((x, i) => [i ? ", " : "", showValue(x)]), "}");
  if (typeof v === "object") return pathLink(v);
  return v;
}

// An INSTANCE element: {cls, props: [{name, type, array, ref, value}]}.
function parseInstance(el, ns) {
  return {
    cls: el.getAttribute("CLASSNAME"),
    props: kids(el, "PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE").map((p) => ({
      name: p.getAttribute("NAME"),
      type: p.getAttribute("TYPE") || (p.tagName === "PROPERTY.REFERENCE" ? "reference" : ""),
      array: p.tagName === "PROPERTY.ARRAY",
      ref: p.tagName === "PROPERTY.REFERENCE",
      value: parseValue(p, ns),
    })),
  };
}

function parseQualifiers(el) {
  return kids(el, "QUALIFIER").map((q) => ({ name: q.getAttribute("NAME"), value: parseValue(q) }));
}

const qualifierText = (qs) => qs.map((q) => (q.value === "TRUE" ? q.name : `${q.name}(${Array.isArray(q.value) ? q.value.join(", ") : q.value})`)).join(", ");
const hasQualifier = (qs, name) => qs.some((q) => q.name.toLowerCase() === name.toLowerCase() && q.value !== "FALSE");

// A CLASS element with everything GetClass gives.
function parseClass(el) {
  const feature = (p) => ({
    name: p.getAttribute("NAME"),
    type: p.getAttribute("TYPE") || (p.getAttribute("REFERENCECLASS") ? "ref " + p.getAttribute("REFERENCECLASS") : "reference"),
    array: p.tagName.endsWith(".ARRAY") || p.tagName.endsWith(".REFARRAY"),
    ref: p.tagName.includes("REFERENCE") || p.tagName.includes("REFARRAY"),
    refClass: p.getAttribute("REFERENCECLASS") || "",
    origin: p.getAttribute("CLASSORIGIN") || "",
    qualifiers: parseQualifiers(p),
    value: p.tagName.startsWith("PROPERTY") ? parseValue(p) : null,
  });
  return {
    name: el.getAttribute("NAME"),
    superclass: el.getAttribute("SUPERCLASS") || "",
    qualifiers: parseQualifiers(el),
    props: kids(el, "PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE").map(feature),
    methods: kids(el, "METHOD").map((m) => ({
      ...feature(m),
      params: kids(m, "PARAMETER", "PARAMETER.ARRAY", "PARAMETER.REFERENCE", "PARAMETER.REFARRAY").map(feature),
    })),
  };
}

async function getClass(name, ns = state.ns) {
  const key = ns + ":" + name.toLowerCase();
  if (!state.classDefs.has(key)) {
    const r = await imethod("GetClass", [["ClassName", xclass(name)], ["LocalOnly", xbool(false)],
      ["IncludeQualifiers", xbool(true)], ["IncludeClassOrigin", xbool(true)]], ns);
    state.classDefs.set(key, parseClass(r.querySelector("IRETURNVALUE > CLASS")));
  }
  return state.classDefs.get(key);
}

// ---------------------------------------------------------------- pulled enumerations

async function closeOpenEnumeration() {
  const e = state.openEnum;
  state.openEnum = null;
  if (e && !e.end) {
    try {
      await imethod("CloseEnumeration", [["EnumerationContext", xv(e.context)]], e.ns);
    } catch (err) {
      // Expired meanwhile: nothing to close.
    }
  }
}

// A paged list: open(MaxObjectCount) starts the enumeration, pullName reads
// the next pages; render(resultElements) shows one page. Pages already read
// are kept to go back; the rest stays on the server until asked for.
async function pagedList(container, open, pullName, render) {
  await closeOpenEnumeration();
  const en = { pages: [], index: 0, context: null, end: false, ns: state.ns };
  state.openEnum = en;
  const read = (r) => {
    const param = (n) => { const p = [...r.children].find((c) => c.tagName === "PARAMVALUE" && c.getAttribute("NAME") === n); return p ? p.textContent.trim() : ""; };
    en.end = param("EndOfSequence").toUpperCase() === "TRUE";
    en.context = param("EnumerationContext");
    const ret = kid(r, "IRETURNVALUE");
    return ret ? [...ret.children] : [];
  };
  const fetchPage = async () => {
    const items = [];
    // A page may come back short while the server is still producing.
    while (items.length < PAGE && !en.end) {
      const r = en.pages.length === 0 && items.length === 0 && en.context === null
        ? await open(PAGE)
        : await imethod(pullName, [["EnumerationContext", xv(en.context)], ["MaxObjectCount", xv(PAGE - items.length)]], en.ns);
      items.push(...read(r));
    }
    en.pages.push(items);
  };
  const show = () => {
    const items = en.pages[en.index];
    const more = en.index + 1 < en.pages.length || !en.end;
    container.replaceChildren(
      h("div", { class: "toolbar" },
        h("button", { type: "button", id: "page-prev", disabled: en.index === 0, onclick: act(() => { en.index--; show(); }) }, "Previous"),
        h("span", { id: "page-info" }, `Page ${en.index + 1}` + (items.length ? `, items ${en.index * PAGE + 1}-${en.index * PAGE + items.length}` : ", no items") + (more ? "" : " (end)")),
        h("button", { type: "button", id: "page-next", disabled: !more, onclick: act(async () => { if (en.index + 1 === en.pages.length) await fetchPage(); en.index++; show(); }) }, "Next")),
      items.length ? render(items) : h("p", { class: "muted" }, "Nothing here."));
  };
  await fetchPage();
  show();
}

// ---------------------------------------------------------------- namespaces and the class tree

async function loadNamespaces() {
  const names = new Set();
  for (const interop of ["interop", "root/interop"]) {
    try {
      const r = await imethod("EnumerateInstanceNames", [["ClassName", xclass("CIM_Namespace")]], interop);
      for (const n of r.querySelectorAll("IRETURNVALUE > INSTANCENAME")) {
        const p = parsePath(n, interop);
        const kv = p.keys.find(([k]) => k.toLowerCase() === "name");
        if (kv) names.add(kv[1]);
      }
      break;
    } catch (e) {
      // Not this interop namespace.
    }
  }
  names.add(state.ns);
  const select = $("namespace");
  select.replaceChildren(...[...names].sort().map((n) => h("option", { value: n, selected: n === state.ns }, n)));
}

async function switchNamespace(ns) {
  if (!ns) return;
  await closeOpenEnumeration();
  state.ns = ns;
  if (![...$("namespace").options].some((o) => o.value === ns)) $("namespace").append(h("option", { value: ns }, ns));
  $("namespace").value = ns;
  view(h("p", {}, "Pick a class on the left."));
  await loadClassTree();
}

async function loadClassTree() {
  $("class-tree").replaceChildren(h("p", { class: "muted" }, "Loading classes..."));
  if (!state.classList.has(state.ns)) {
    const r = await imethod("EnumerateClasses", [["DeepInheritance", xbool(true)], ["LocalOnly", xbool(true)],
      ["IncludeQualifiers", xbool(false)], ["IncludeClassOrigin", xbool(false)]]);
    const supers = new Map();
    for (const c of r.querySelectorAll("IRETURNVALUE > CLASS")) supers.set(c.getAttribute("NAME"), c.getAttribute("SUPERCLASS") || "");
    state.classList.set(state.ns, supers);
  }
  renderClassTree();
}

function renderClassTree() {
  const supers = state.classList.get(state.ns) || new Map();
  const term = $("class-search").value.trim().toLowerCase();
  const children = new Map();
  for (const [name, sup] of supers) {
    const parent = supers.has(sup) ? sup : "";
    if (!children.has(parent)) children.set(parent, []);
    children.get(parent).push(name);
  }
  // With a search: the matches and the classes above them.
  const shown = new Set();
  if (term) {
    for (const name of supers.keys()) {
      if (!name.toLowerCase().includes(term)) continue;
      for (let n = name; n && !shown.has(n); n = supers.has(supers.get(n)) ? supers.get(n) : "") shown.add(n);
    }
  }
  const node = (name, depth) => {
    const subs = (children.get(name) || []).filter((c) => !term || shown.has(c)).sort();
    const link = h("a", { class: term && name.toLowerCase().includes(term) ? "match cls" : "cls", dataset: { class: name }, onclick: act(() => showClass(name)) }, name);
    if (!subs.length) return h("li", {}, link);
    return h("li", {}, h("details", { open: !!term || depth < 0 }, h("summary", {}, link, h("span", { class: "muted" }, ` (${subs.length})`)),
      h("ul", {}, subs.map((s) => node(s, depth + 1)))));
  };
  const roots = (children.get("") || []).filter((c) => !term || shown.has(c)).sort();
  $("class-tree").replaceChildren(roots.length ? h("ul", {}, roots.map((r) => node(r, 0))) : h("p", { class: "muted" }, "No class matches."));
}

// ---------------------------------------------------------------- classes

async function showClass(name) {
  await closeOpenEnumeration();
  const c = await getClass(name);
  const instances = h("div", { id: "instances" });
  const staticMethods = c.methods.filter((m) => hasQualifier(m.qualifiers, "Static"));
  view(
    h("h2", {}, "Class ", h("span", { id: "class-name" }, c.name), c.superclass ? h("span", { class: "muted" }, " : ", h("a", { class: "path", onclick: act(() => showClass(c.superclass)) }, c.superclass)) : ""),
    c.qualifiers.length ? h("p", { class: "qual" }, qualifierText(c.qualifiers)) : "",
    h("div", { class: "toolbar" },
      h("button", { type: "button", id: "list-instances", onclick: act(() => listInstances(c.name, instances)) }, "Instances"),
      h("button", { type: "button", id: "new-instance", onclick: act(() => editInstance(c.name, null)) }, "New instance"),
      staticMethods.map((m) => h("button", { type: "button", dataset: { method: m.name }, onclick: act(() => methodForm(c.name, m, null)) }, `Invoke ${m.name}()`))),
    h("h3", {}, "Properties"),
    table(["Name", "Type", "Default", "Class origin", "Qualifiers"], c.props.map((p) => [
      h("td", { class: hasQualifier(p.qualifiers, "Key") ? "key" : "" }, p.name), p.type + (p.array ? "[]" : ""),
      showValue(p.value), p.origin, h("span", { class: "qual" }, qualifierText(p.qualifiers))])),
    h("h3", {}, "Methods"),
    c.methods.length ? table(["Name", "Returns", "Parameters", "Qualifiers"], c.methods.map((m) => [m.name, m.type,
      m.params.map((p) => `${p.name}: ${p.type}${p.array ? "[]" : ""} ${qualifierText(p.qualifiers.filter((q) => /^(in|out)$/i.test(q.name)))}`).join("; "),
      h("span", { class: "qual" }, qualifierText(m.qualifiers))])) : h("p", { class: "muted" }, "None."),
    instances);
}

function listInstances(cls, container) {
  return pagedList(container,
    (n) => imethod("OpenEnumerateInstances", [["ClassName", xclass(cls)], ["MaxObjectCount", xv(n)]]),
    "PullInstancesWithPath",
    (items) => {
      const rows = items.filter((e) => e.tagName === "VALUE.INSTANCEWITHPATH").map((e) => ({
        path: parsePath(kid(e, "INSTANCEPATH"), state.ns), inst: parseInstance(kid(e, "INSTANCE"), state.ns) }));
      const names = [...new Set(rows.flatMap((r) => r.inst.props.map((p) => p.name)))].slice(0, 6);
      return table(["Instance", ...names], rows.map((r) => [pathLink(r.path),
        ...names.map((n) => { const p = r.inst.props.find((x) => x.name === n); return p ? showValue(p.value) : ""; })]));
    });
}

// ---------------------------------------------------------------- instances

async function showInstance(path) {
  await closeOpenEnumeration();
  if (path.ns !== state.ns) await switchNamespace(path.ns);
  const r = await imethod("GetInstance", [["InstanceName", serialize(path.xml)]], path.ns);
  const inst = parseInstance(r.querySelector("IRETURNVALUE > INSTANCE"), path.ns);
  let def = null;
  try { def = await getClass(inst.cls, path.ns); } catch (e) { /* shown without class detail */ }
  const isKey = (n) => def && def.props.some((p) => p.name.toLowerCase() === n.toLowerCase() && hasQualifier(p.qualifiers, "Key"));
  const related = h("div", { id: "related" });
  view(
    h("h2", {}, "Instance of ", h("a", { class: "path", onclick: act(() => showClass(inst.cls)) }, inst.cls)),
    h("p", { id: "instance-path" }, pathText(path)),
    h("div", { class: "toolbar" },
      h("button", { type: "button", id: "edit-instance", onclick: act(() => editInstance(inst.cls, path, inst)) }, "Edit"),
      h("button", { type: "button", id: "delete-instance", class: "danger", onclick: act(() => deleteInstance(path)) }, "Delete"),
      h("button", { type: "button", id: "associators", onclick: act(() => relatedList(path, "OpenAssociatorInstancePaths", related)) }, "Associated instances"),
      h("button", { type: "button", id: "references", onclick: act(() => relatedList(path, "OpenReferenceInstancePaths", related)) }, "Associations referencing it"),
      (def ? def.methods : []).filter((m) => !hasQualifier(m.qualifiers, "Static"))
        .map((m) => h("button", { type: "button", dataset: { method: m.name }, onclick: act(() => methodForm(inst.cls, m, path)) }, `Invoke ${m.name}()`))),
    table(["Property", "Type", "Value"], inst.props.map((p) => [h("td", { class: isKey(p.name) ? "key" : "" }, p.name),
      p.type + (p.array ? "[]" : ""), h("td", { dataset: { property: p.name } }, showValue(p.value))])),
    related);
}

function relatedList(path, openName, container) {
  container.replaceChildren(h("h3", {}, openName === "OpenAssociatorInstancePaths" ? "Associated instances" : "Associations referencing it"), h("div"));
  return pagedList(container.lastChild,
    (n) => imethod(openName, [["InstanceName", serialize(path.xml)], ["MaxObjectCount", xv(n)]], path.ns),
    "PullInstancePaths",
    (items) => h("ul", { class: "related" }, items.filter((e) => e.tagName === "INSTANCEPATH").map((e) => h("li", {}, pathLink(parsePath(e, path.ns))))));
}

async function deleteInstance(path) {
  if (!window.confirm(`Delete ${pathText(path)}?`)) return;
  await imethod("DeleteInstance", [["InstanceName", serialize(path.xml)]], path.ns);
  view(h("p", { class: "ok", id: "done" }, `Deleted ${pathText(path)}.`));
}

// The text of a value for a form field and back.
const fieldText = (v) => (v === null || v === undefined ? "" : Array.isArray(v) ? v.join("\n") : typeof v === "object" ? pathText(v) : v);

// A reference typed as Class.Key="text",Key=12: its INSTANCENAME element.
function referenceXml(text) {
  const m = /^\s*([A-Za-z_][A-Za-z0-9_]*)\.(.*)$/s.exec(text);
  if (!m) throw new Error(`Not a reference: ${text} (write Class.Key="value",Key=1)`);
  const bindings = [];
  const re = /\s*([A-Za-z_][A-Za-z0-9_]*)\s*=\s*("((?:[^"\\]|\\.)*)"|[^,"]*)\s*(,|$)/gy;
  let rest = m[2];
  let k;
  while (rest.length && (k = re.exec(rest))) {
    const quoted = k[3] !== undefined;
    const value = quoted ? k[3].replace(/\\(.)/g, "$1") : k[2].trim();
    const type = quoted ? "string" : /^(true|false)$/i.test(value) ? "boolean" : "numeric";
    bindings.push(`<KEYBINDING NAME="${esc(k[1])}"><KEYVALUE VALUETYPE="${type}">${esc(value)}</KEYVALUE></KEYBINDING>`);
    if (re.lastIndex >= rest.length) break;
  }
  if (!bindings.length || re.lastIndex < rest.length) throw new Error(`Not a reference: ${text} (write Class.Key="value",Key=1)`);
  return `<VALUE.REFERENCE><INSTANCENAME CLASSNAME="${esc(m[1])}">${bindings.join("")}</INSTANCENAME></VALUE.REFERENCE>`;
}

function valueXml(p, text) {
  if (p.ref) return referenceXml(text);
  if (p.array) {
    const items = text.split("\n").map((s) => s.trim()).filter((s) => s !== "");
    return `<VALUE.ARRAY>${items.map(xv).join("")}</VALUE.ARRAY>`;
  }
  return p.type === "boolean" ? xv(text.toUpperCase()) : xv(text);
}

function field(p, value, id) {
  if (p.type === "boolean" && !p.array) {
    return h("select", { id, name: p.name }, ["", "TRUE", "FALSE"].map((o) => h("option", { value: o, selected: (value || "").toUpperCase() === o }, o || "NULL")));
  }
  if (p.ref) {
    return h("input", { id, name: p.name, value: fieldText(value), placeholder: `${p.refClass || "Class"}.Key="value",...` });
  }
  return p.array ? h("textarea", { id, name: p.name, rows: 3, placeholder: "one value a line" }, fieldText(value))
    : h("input", { id, name: p.name, value: fieldText(value), placeholder: p.type });
}

// Creates an instance of cls (path null) or edits the one at path: only the
// properties changed are sent, with a property list naming them.
async function editInstance(cls, path, inst) {
  await closeOpenEnumeration();
  const def = await getClass(cls, path ? path.ns : state.ns);
  const current = new Map((inst ? inst.props : []).map((p) => [p.name.toLowerCase(), p.value]));
  const props = def.props.filter((p) => !(p.ref && p.array) && !(path && hasQualifier(p.qualifiers, "Key")));
  const form = h("form", { class: "edit", id: "instance-form" },
    table(["Property", "Type", "Value"], props.map((p) => [h("td", { class: hasQualifier(p.qualifiers, "Key") ? "key" : "" }, p.name),
      p.type + (p.array ? "[]" : ""), h("td", {}, field(p, path ? current.get(p.name.toLowerCase()) : null, "field-" + p.name))])),
    h("div", { class: "toolbar" }, h("button", { type: "submit", id: "save-instance" }, path ? "Save" : "Create"),
      h("button", { type: "button", onclick: act(() => (path ? showInstance(path) : showClass(cls))) }, "Cancel")));
  form.addEventListener("submit", act(async () => {
    const changed = props.filter((p) => form.elements[p.name].value !== fieldText(path ? current.get(p.name.toLowerCase()) : null));
    const propXml = (p) => {
      const text = form.elements[p.name].value;
      const value = text.trim() === "" ? "" : valueXml(p, text);
      if (p.ref) return `<PROPERTY.REFERENCE NAME="${esc(p.name)}" REFERENCECLASS="${esc(p.refClass)}">${value}</PROPERTY.REFERENCE>`;
      const tag = p.array ? "PROPERTY.ARRAY" : "PROPERTY";
      return `<${tag} NAME="${esc(p.name)}" TYPE="${esc(p.type)}">${value}</${tag}>`;
    };
    if (path) {
      const instance = `<INSTANCE CLASSNAME="${esc(cls)}">${changed.map(propXml).join("")}</INSTANCE>`;
      await imethod("ModifyInstance", [["ModifiedInstance", `<VALUE.NAMEDINSTANCE>${serialize(path.xml)}${instance}</VALUE.NAMEDINSTANCE>`],
        ["PropertyList", `<VALUE.ARRAY>${changed.map((p) => xv(p.name)).join("")}</VALUE.ARRAY>`]], path.ns);
      await showInstance(path);
    } else {
      const given = props.filter((p) => form.elements[p.name].value.trim() !== "");
      const r = await imethod("CreateInstance", [["NewInstance", `<INSTANCE CLASSNAME="${esc(cls)}">${given.map(propXml).join("")}</INSTANCE>`]]);
      await showInstance(parsePath(r.querySelector("IRETURNVALUE > INSTANCENAME"), state.ns));
    }
  }));
  view(h("h2", {}, path ? "Edit " : "New instance of ", path ? pathText(path) : cls),
    props.length < def.props.length ? h("p", { class: "muted" }, path ? "Keys and arrays of references cannot be changed here." : "Arrays of references cannot be given here.") : "",
    form);
}

// ---------------------------------------------------------------- methods

function methodForm(cls, method, path) {
  // Inputs: parameters marked IN, and those marked neither IN nor OUT.
  const inputs = method.params.filter((p) => hasQualifier(p.qualifiers, "In") || !hasQualifier(p.qualifiers, "Out"));
  const result = h("div", { id: "method-result" });
  const form = h("form", { class: "edit", id: "method-form" },
    inputs.length ? table(["Parameter", "Type", "Value"], inputs.map((p) => [p.name, p.type + (p.array ? "[]" : ""),
      p.ref && p.array ? h("span", { class: "muted" }, "arrays of references cannot be given here") : field(p, null, "param-" + p.name)])) : h("p", { class: "muted" }, "No input parameters."),
    h("div", { class: "toolbar" }, h("button", { type: "submit", id: "invoke" }, "Invoke")));
  form.addEventListener("submit", act(async () => {
    const ns = path ? path.ns : state.ns;
    const target = path ? `<LOCALINSTANCEPATH>${localNamespace(ns)}${serialize(path.xml)}</LOCALINSTANCEPATH>`
      : `<LOCALCLASSPATH>${localNamespace(ns)}${xclass(cls)}</LOCALCLASSPATH>`;
    const params = inputs.filter((p) => !(p.ref && p.array) && form.elements[p.name].value.trim() !== "")
      .map((p) => `<PARAMVALUE NAME="${esc(p.name)}" PARAMTYPE="${p.ref ? "reference" : esc(p.type)}">${valueXml(p, form.elements[p.name].value)}</PARAMVALUE>`).join("");
    const r = await call(method.name, ns + ":" + (path ? pathText(path) : cls), `<METHODCALL NAME="${esc(method.name)}">${target}${params}</METHODCALL>`);
    const ret = kid(r, "RETURNVALUE");
    result.replaceChildren(h("h3", {}, "Result"), table(["Name", "Value"], [
      ["return value", h("td", { id: "return-value" }, showValue(ret ? parseValue(ret, ns) : null))],
      ...kids(r, "PARAMVALUE").map((p) => [p.getAttribute("NAME"), showValue(parseValue(p, ns))])]));
  }));
  view(h("h2", {}, `${method.name}() of `, path ? pathText(path) : cls), form, result);
}

// ---------------------------------------------------------------- queries

async function queryView() {
  await closeOpenEnumeration();
  const results = h("div", { id: "query-results" });
  const form = h("form", { id: "query-form" },
    h("div", { class: "toolbar" }, h("select", { id: "query-language" }, h("option", { value: "WQL" }, "WQL"), h("option", { value: "DMTF:CQL" }, "CQL")),
      h("button", { type: "submit", id: "run-query" }, "Run")),
    h("textarea", { id: "query-text", placeholder: "SELECT * FROM CIM_ManagedElement WHERE ..." }));
  form.addEventListener("submit", act(() => pagedList(results,
    (n) => imethod("OpenQueryInstances", [["FilterQuery", xv($("query-text").value)], ["FilterQueryLanguage", xv($("query-language").value)],
      ["ReturnQueryResultClass", xbool(false)], ["MaxObjectCount", xv(n)]]),
    "PullInstances",
    (items) => {
      const rows = items.filter((e) => e.tagName === "INSTANCE").map((e) => parseInstance(e, state.ns));
      const names = [...new Set(rows.flatMap((r) => r.props.map((p) => p.name)))];
      return table(["Class", ...names], rows.map((r) => [r.cls, ...names.map((n) => { const p = r.props.find((x) => x.name === n); return p ? showValue(p.value) : ""; })]));
    })));
  view(h("h2", {}, "Query ", h("span", { class: "muted" }, state.ns)), form, results);
}

// ---------------------------------------------------------------- status

async function statusView() {
  await closeOpenEnumeration();
  const r = await fetch(serverUrl("/metrics"), { credentials: "same-origin" });
  if (r.status !== 200) throw new Error(`HTTP ${r.status} for /metrics`);
  const text = await r.text();
  const samples = [];
  for (const line of text.split("\n")) {
    const m = /^([a-zA-Z_:][a-zA-Z0-9_:]*)(\{(.*)\})? (\S+)$/.exec(line);
    if (!m) continue;
    const labels = {};
    for (const l of (m[3] || "").matchAll(/([a-zA-Z_][a-zA-Z0-9_]*)="((?:[^"\\]|\\.)*)"/g)) labels[l[1]] = l[2];
    samples.push({ name: m[1], labels, value: Number(m[4]) });
  }
  const one = (name, labels = {}) => {
    const s = samples.find((x) => x.name === name && Object.entries(labels).every(([k, v]) => x.labels[k] === v));
    return s ? s.value : NaN;
  };
  const info = samples.find((s) => s.name === "tarn_info");
  const byOperation = new Map();
  for (const s of samples.filter((x) => x.name === "tarn_cim_operations_total")) {
    const o = byOperation.get(s.labels.operation) || { ok: 0, failed: 0 };
    if (s.labels.status === "CIM_SUCCESS") o.ok += s.value; else o.failed += s.value;
    byOperation.set(s.labels.operation, o);
  }
  const mb = (b) => (b / 1048576).toFixed(1) + " MiB";
  view(h("h2", {}, "Server status"),
    table(["Figure", "Value"], [
      ["Version", info ? info.labels.version : "?"],
      ["Connections open / busy", `${one("tarn_http_connections_open")} / ${one("tarn_http_connections_busy")}`],
      ["Request workers busy", `${one("tarn_workers_busy", { pool: "request" })} of ${one("tarn_workers", { pool: "request" })}`],
      ["Provider workers busy", `${one("tarn_workers_busy", { pool: "provider" })} of ${one("tarn_workers", { pool: "provider" })}`],
      ["Open enumerations", one("tarn_enumeration_contexts_open")],
      ["Resident memory", mb(one("process_resident_memory_bytes"))],
      ["CPU time", one("process_cpu_seconds_total").toFixed(2) + " s"],
      ["Repository size", mb(one("tarn_repository_size_bytes"))],
      ...samples.filter((s) => s.name === "tarn_repository_instances").map((s) => [`Instances in ${s.labels.namespace}`, s.value]),
    ]),
    h("h3", {}, "Operations"),
    table(["Operation", "Succeeded", "Failed"], [...byOperation].sort().map(([op, c]) => [op, c.ok, c.failed])),
    h("details", {}, h("summary", {}, "All metrics"), h("pre", { id: "metrics-text" }, text)));
}

// ---------------------------------------------------------------- start

document.addEventListener("DOMContentLoaded", act(async () => {
  $("namespace").addEventListener("change", act(() => switchNamespace($("namespace").value)));
  $("namespace-other").addEventListener("change", act(() => switchNamespace($("namespace-other").value.trim())));
  $("class-search").addEventListener("input", () => renderClassTree());
  $("nav-classes").addEventListener("click", act(() => { view(h("p", {}, "Pick a class on the left.")); }));
  $("nav-query").addEventListener("click", act(queryView));
  $("nav-status").addEventListener("click", act(statusView));
  await loadNamespaces();
  await loadClassTree();
}));
