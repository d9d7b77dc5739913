#pragma once

#include "DocumentEngine.h"
#include "OfficeBridge.h"

#include <QJsonObject>

namespace wordlink {

// A document the office suite holds, through the bridge: .doc, .rtf, .odt and the like.
class BridgeDocument : public Document
{
public:
    static Result<std::unique_ptr<Document>> open(const QString& path, bool readOnly);
    static Result<std::unique_ptr<Document>> fromTemplate(const QString& templatePath);
    // Converts a file into the format its target's extension names, through the shared bridge
    // unless another is given.
    static Status convert(const QString& from, const QString& to, OfficeBridge& bridge = OfficeBridge::instance());

    ~BridgeDocument() override;

    QString FullName() const override { return m_fullName; }
    bool Saved() const override { return m_saved; }
    Result<QString> ContentText() override;
    Result<bool> Find(const QString& findText, const FindOptions& options) override;
    Result<int> ReplaceAll(const QString& findText, const QString& replaceWith, const FindOptions& options) override;
    Status AppendPageBreakAndText(const QString& text) override;
    Status Save() override;
    Status SaveAs(const QString& path) override;
    void Close() override;

private:
    BridgeDocument(QString key, QString fullName);
    QJsonObject request(const char* op) const;
    // One operation on this document; it fails at once when the helper that held the document
    // has ended, rather than starting a new one that does not know it.
    Result<QJsonObject> ask(const QJsonObject& request) const;

    QString m_key;
    int m_generation;
    QString m_fullName;
    bool m_saved = true;
    bool m_closed = false;
};

} // namespace wordlink
