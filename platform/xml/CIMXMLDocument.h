// tarn::CIMXMLDocument: CIM-XML text parsed in place into a pugixml tree.
//
// Before pugixml sees the text, one pass over it checks what pugixml does not:
// the text is UTF-8 without control characters, every reference is one of the
// five predefined entities or a character reference to a character XML can
// carry, there is no DOCTYPE, and the markup is not denser than real CIM-XML,
// so that the tree stays within a fixed multiple of the text size. No entity
// is ever expanded and nothing outside the text is ever read.
#pragma once

#include <cstddef>

#include <pugixml.hpp>

namespace tarn {

class CIMXMLDocument {
  public:
    // Tree bytes (pugixml nodes and attributes, estimated from the markup)
    // allowed per byte of text, plus a fixed allowance for small documents.
    static constexpr std::size_t kTreeBytesPerTextByte = 6;
    static constexpr std::size_t kTreeAllowance = 1 << 20;

    // Parses the size bytes at text in place: the text is modified and must
    // outlive the document. text[size] must exist and be a NUL character (as
    // in a std::string). Throws VelaBaseException ("InvalidData") saying why
    // the text is not a well-formed XML document with one root element.
    CIMXMLDocument(char* text, std::size_t size);
    CIMXMLDocument(const CIMXMLDocument&) = delete;
    CIMXMLDocument& operator=(const CIMXMLDocument&) = delete;

    // The root element.
    pugi::xml_node root() const { return _root; }
    // Frees the tree (the text is no longer referenced afterwards).
    void clear();

  private:
    pugi::xml_document _doc;
    pugi::xml_node _root;
};

}  // namespace tarn
