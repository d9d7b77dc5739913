#include "DocumentMerge.h"

#include "TokenEngine.h"
#include "core/TextUtil.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/WordStatus.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

DocumentMerge::DocumentMerge(wordlink::DocumentApplication& application, const TokenEngine& tokens)
    : m_application(application)
    , m_tokens(tokens)
{
}

Status DocumentMerge::ScanDocTokens(TokenEngine& tokens, const QString& templatePath)
{
    wordlink::WordJob job;
    const std::unique_ptr<wordlink::DocumentApplication> application = wordlink::NewApplication();
    Result<std::unique_ptr<wordlink::Document>> opened = application->Open(templatePath, false);
    if (!opened.ok()) {
        application->Quit();
        return opened.error();
    }
    const Result<QString> text = opened.value()->ContentText();
    if (text.ok()) {
        tokens.ScanDocTokens(text.value());
    }
    opened.value()->Close();
    application->Quit();
    return text.ok() ? Status() : Status(text.error());
}

template <typename Replacements>
Status DocumentMerge::merge(const QString& templatePath, const QString& outputPath, const Replacements& replacements)
{
    if (isTemplateItself(outputPath, TextUtil::trimSpaces(templatePath))) {
        return Error{ErrorCode::OverwritesTemplate, u"the copy would overwrite its template"_s};
    }
    // Whatever stood at the output belongs to no contact once this merge begins: a failed merge
    // must not leave an earlier contact's copy there.
    QFile::remove(outputPath);
    Result<std::unique_ptr<wordlink::Document>> opened = m_application.Open(TextUtil::trimSpaces(templatePath), false);
    if (!opened.ok()) {
        return opened.error();
    }
    std::unique_ptr<wordlink::Document> document = std::move(opened).value();
    for (const auto& [token, value] : replacements) {
        const Result<int> replaced = document->ReplaceAll(token, value, {});
        if (!replaced.ok()) {
            document->Close();
            return replaced.error();
        }
    }
    const Status saved = document->SaveAs(outputPath);
    document->Close();
    if (!saved.ok()) {
        QFile::remove(outputPath);
    }
    return saved;
}

QString DocumentMerge::mergedExtension(const QString& templatePath)
{
    const QString suffix = QFileInfo(TextUtil::trimSpaces(templatePath)).suffix().toLower();
    if (suffix == u"docm"_s || suffix == u"dotm"_s) {
        return u".docm"_s; // its macros come along, and Word opens such a file only by that name
    }
    if (wordlink::isNativeFormat(TextUtil::trimSpaces(templatePath))) {
        return u".docx"_s;
    }
    return suffix == u"doc"_s || suffix == u"dot"_s || suffix.isEmpty() ? u".doc"_s : u"."_s + suffix;
}

bool DocumentMerge::isTemplateItself(const QString& target, const QString& templatePath)
{
    const QFileInfo output(target);
    const QFileInfo original(templatePath);
    return output.exists() && original.exists() && output.canonicalFilePath() == original.canonicalFilePath();
}

Status DocumentMerge::MergeDocTokens(int row, const QString& templatePath, const QString& outputPath)
{
    return merge(templatePath, outputPath, m_tokens.docTokenReplacements(row));
}

Status DocumentMerge::MergeDocAllFields(int row, const QString& templatePath, const QString& outputPath)
{
    return merge(templatePath, outputPath, m_tokens.allFieldReplacements(row));
}
