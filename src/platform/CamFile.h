#pragma once

#include "platform/CamProperty.h"
#include "platform/ConstCamProperty.h"
#include "platform/Error.h"

#include <optional>
#include <string>

struct _xmlDoc;

namespace Lumex {

// One markup document, owning its whole node tree. Loading never fetches anything beyond the file
// itself: external entities and document types are refused, and entity expansion is bounded, so a
// hostile file can neither read other files nor exhaust memory. Text, white space and comments are
// kept exactly, so a document read and written again keeps them (unless setDropsLayoutSpace).
class CamFile
{
public:
    enum SourceBufferType
    {
        // The text is a file path in the local 8-bit encoding; a null text makes an empty document.
        SourcePath = 0,
        // The text is the document itself, UTF-8 unless it declares otherwise.
        SourceText = 1,
        // The text is the name of the root element of a new document.
        SourceRootName = 2
    };

    CamFile();
    CamFile(const char* a_text, SourceBufferType a_type);
    CamFile(const char* a_text, int a_type);
    CamFile(const CamFile&) = delete;
    CamFile& operator=(const CamFile&) = delete;
    CamFile(CamFile&& a_other) noexcept;
    CamFile& operator=(CamFile&& a_other) noexcept;
    virtual ~CamFile();

    // Off by default. On, the next load substitutes the internal entities the document declares, as
    // libxml2 does with its amplification limits, and refuses external ones; off, a reference stays a
    // node of its own.
    void setExpandsEntities(bool a_expand) { m_expandEntities = a_expand; }
    // Off by default. On, the next load leaves out the white space that only lays out an element
    // holding elements and no other text, which about one node in two of an indented file is.
    void setDropsLayoutSpace(bool a_drop) { m_dropLayoutSpace = a_drop; }

    // Replaces the document when loading succeeds; otherwise keeps it and returns every diagnostic
    // found, in document order.
    Error load(const char* a_text, SourceBufferType a_type);
    Error load(const char* a_text, int a_type);
    // What the constructor's loading or creation reported.
    Error status() const;
    bool isEmpty() const;

    CamProperty root();
    ConstCamProperty root() const;

    // The declaration written ahead of the root, either whole ("<?xml version="1.0"?>") or as its
    // pseudo-attributes ("version="1.0" encoding="ISO-8859-1""). Null restores the default
    // <?xml version="1.0" encoding="UTF-8"?>; an empty text writes none. The encoding named is the
    // one written; it must be one in which the declaration reads as ASCII.
    void setDeclaration(const char* a_declaration);
    // Writes the whole document as it is, without reformatting; the file is replaced only once it
    // has been written completely.
    Error write(const char* a_path) const;

    // Writes a_size bytes as the whole file, which is replaced only once they are all written.
    static Error writeBytes(const char* a_path, const char* a_data, long long a_size);

private:
    friend class LumexSourceMerge;

    void replaceDocument(_xmlDoc* a_document);

    _xmlDoc* m_document = nullptr;
    std::optional<std::string> m_declaration;
    Error m_status;
    bool m_expandEntities = false;
    bool m_dropLayoutSpace = false;
};

} // namespace Lumex
