#pragma once

#include "DocumentEngine.h"
#include "OoxmlPackage.h"

#include <functional>
#include <optional>
#include <pugixml.hpp>

namespace wordlink {

class OoxmlText;

// A Word 2007-family document handled in-process.
class NativeDocument : public Document
{
public:
    // Saving in a format of the office suite (.doc, .rtf, …): converts a saved .docx.
    using Converter = std::function<Status(const QString& from, const QString& to)>;

    static Result<std::unique_ptr<Document>> open(const QString& path, bool readOnly, Converter converter);
    static Result<std::unique_ptr<Document>> fromTemplate(const QString& templatePath, Converter converter);

    ~NativeDocument() override;

    QString FullName() const override { return m_fullName; }
    bool Saved() const override { return m_saved; }
    Result<QString> ContentText() override;
    Result<bool> Find(const QString& findText, const FindOptions& options) override;
    Result<int> ReplaceAll(const QString& findText, const QString& replaceWith, const FindOptions& options) override;
    Status AppendPageBreakAndText(const QString& text) override;
    Status Save() override;
    Status SaveAs(const QString& path) override;
    void Close() override {}

private:
    NativeDocument(OoxmlPackage package, Converter converter);
    Status load();
    Status store(const QString& path);
    void setMainContentType(const QString& suffix);
    pugi::xml_node body();

    OoxmlPackage m_package;
    Converter m_convert;
    QString m_fullName;
    QString m_mainPart;
    bool m_saved = true;
    bool m_readOnly = false;
    pugi::xml_document m_xml;
    std::unique_ptr<OoxmlText> m_text;
    std::optional<pugi::xml_node> m_sectionProperties; // of the body, found at the first append
    bool m_xmlChanged = false;
};

} // namespace wordlink
