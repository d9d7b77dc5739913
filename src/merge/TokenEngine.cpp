#include "TokenEngine.h"

#include "contacts/ContactTable.h"
#include "contacts/DataSources.h"
#include "core/ListSeparator.h"
#include "core/TextUtil.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr int EmailCell = 0;
constexpr int FirstBlankCell = 1; // First Name, Last Name, Job Title, Company Name: cells 1 to 4
constexpr int LastBlankCell = 4;
constexpr int LastStandardCell = 12;

bool hasBlankReplacer(int cell)
{
    return cell >= FirstBlankCell && cell <= LastBlankCell;
}

} // namespace

TokenEngine::TokenEngine(const ContactTable& table)
    : m_table(table)
{
    BuildTokenCatalog();
}

QString TokenEngine::customToken(int cell) const
{
    return MergeFieldTable::customToken(m_table.heading(cell));
}

void TokenEngine::BuildTokenCatalog()
{
    QStringList tokens;
    for (int cell = EmailCell; cell <= LastStandardCell; ++cell) {
        tokens << MergeFieldTable::standardToken(cell);
    }
    m_tokenCatalog = tokens.join(ListSeparatorChar);
}

QString TokenEngine::scanTokens(const QString& text, const ScanProgress& progress)
{
    QString found;
    if (!text.contains(u"[["_s)) {
        return found;
    }
    for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
        m_tokenCatalog += ListSeparatorChar + customToken(cell);
    }
    const QStringList catalogue = m_tokenCatalog.split(ListSeparatorChar);
    const qsizetype highest = catalogue.size() - 1;
    const double step = 4000.0 / static_cast<double>(highest > 0 ? highest : 1);
    double width = 0;
    for (const QString& entry : catalogue) {
        if (text.contains(entry)) {
            found += entry + ListSeparatorChar;
        }
        width = qMin(width + step, 4000.0);
        if (progress) {
            progress(width);
        }
    }
    return found;
}

void TokenEngine::ScanMailTokens(const QString& text, const ScanProgress& progress)
{
    m_mailTokens = scanTokens(text, progress);
}

void TokenEngine::ScanDocTokens(const QString& contentText)
{
    m_docTokens = scanTokens(contentText, {});
}

QString TokenEngine::fieldValue(int row, int cell) const
{
    const QString text = m_table.cell(row, cell);
    if (hasBlankReplacer(cell) && DataSources::isFileLike(m_sourceIndex) && text.isEmpty()) {
        return TextUtil::trimSpaces(m_blanks.texts[cell - FirstBlankCell]);
    }
    return text;
}

bool TokenEngine::replaceCell(QString& text, int row, int cell, bool blankRule) const
{
    if (!m_table.isValidPosition(row)) {
        return false;
    }
    const QString token =
        cell >= MergeFieldTable::FirstCustomCell ? customToken(cell) : MergeFieldTable::standardToken(cell);
    text.replace(token, blankRule ? fieldValue(row, cell) : m_table.cell(row, cell));
    return true;
}

int TokenEngine::cellOfToken(const QString& token) const
{
    for (int cell = EmailCell; cell <= LastStandardCell; ++cell) {
        if (token == MergeFieldTable::standardToken(cell)) {
            return cell;
        }
    }
    for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
        if (token == customToken(cell)) {
            return cell;
        }
    }
    return -1;
}

void TokenEngine::MergeOneToken(QString& text, const QString& token, int row) const
{
    const int cell = cellOfToken(token);
    if (cell >= 0) {
        replaceCell(text, row, cell, hasBlankReplacer(cell));
    }
}

QString TokenEngine::MergeAllFields(int row, QString text) const
{
    for (int cell = FirstBlankCell; cell <= LastBlankCell; ++cell) {
        if (!replaceCell(text, row, cell, true)) {
            return text;
        }
    }
    replaceCell(text, row, EmailCell, false);
    for (int cell = LastBlankCell + 1; cell <= LastStandardCell; ++cell) {
        replaceCell(text, row, cell, false);
    }
    if (DataSources::isFileLike(m_sourceIndex)) {
        for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
            replaceCell(text, row, cell, false);
        }
    }
    return text;
}

void TokenEngine::MergePreviewFields(int row, QString& text) const
{
    if (!replaceCell(text, row, EmailCell, false)) {
        return;
    }
    for (int cell = FirstBlankCell; cell <= LastStandardCell; ++cell) {
        replaceCell(text, row, cell, hasBlankReplacer(cell));
    }
    if (DataSources::isFileLike(m_sourceIndex)) {
        for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
            replaceCell(text, row, cell, false);
        }
    }
}

QString TokenEngine::MergeUsedTokens(int row, QString text) const
{
    const QStringList tokens = m_mailTokens.split(ListSeparatorChar);
    for (const QString& token : tokens) {
        MergeOneToken(text, token, row);
    }
    return text;
}

QString TokenEngine::mergedSubject(int row, const QString& subjectBox) const
{
    if (subjectBox.contains(u"[["_s)) {
        return MergeAllFields(row, subjectBox);
    }
    return TextUtil::trimSpaces(subjectBox);
}

QString TokenEngine::mergedBody(int row, const QString& html) const
{
    return m_mailTokens.isEmpty() ? html : MergeUsedTokens(row, html);
}

std::vector<TokenEngine::Replacement> TokenEngine::docTokenReplacements(int row) const
{
    std::vector<Replacement> replacements;
    const QStringList tokens = m_docTokens.split(ListSeparatorChar);
    for (const QString& token : tokens) {
        const int cell = cellOfToken(token);
        if (cell >= 0) {
            replacements.emplace_back(token, m_table.cell(row, cell));
        }
    }
    return replacements;
}

std::vector<TokenEngine::Replacement> TokenEngine::allFieldReplacements(int row) const
{
    std::vector<Replacement> replacements;
    for (int cell = EmailCell; cell <= LastStandardCell; ++cell) {
        replacements.emplace_back(MergeFieldTable::standardToken(cell), m_table.cell(row, cell));
    }
    if (DataSources::isFileLike(m_sourceIndex)) {
        for (int cell = MergeFieldTable::FirstCustomCell; cell < MergeFieldTable::CellCount; ++cell) {
            replacements.emplace_back(customToken(cell), m_table.cell(row, cell));
        }
    }
    return replacements;
}
