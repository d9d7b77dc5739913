#include "OoxmlText.h"

#include <cstring>
#include <map>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

bool named(pugi::xml_node node, const char* name)
{
    return std::strcmp(node.name(), name) == 0;
}

} // namespace

OoxmlText::OoxmlText(pugi::xml_node body)
{
    walk(body);
}

void OoxmlText::walk(pugi::xml_node node)
{
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element) {
            continue;
        }
        const char* name = child.name();
        if (named(child, "w:p")) {
            walk(child);
            endParagraph(child);
        } else if (named(child, "w:r")) {
            walkRun(child);
        } else if (named(child, "w:tbl")) {
            walkTable(child);
        } else if (named(child, "w:fldSimple") || named(child, "w:hyperlink") || named(child, "w:ins") ||
                   named(child, "w:smartTag") || named(child, "w:customXml") || named(child, "w:sdt") ||
                   named(child, "w:sdtContent") || named(child, "w:moveTo") || named(child, "w:dir") ||
                   named(child, "w:bdo")) {
            walk(child);
        } else if (std::strncmp(name, "w:", 2) != 0 && !named(child, "mc:AlternateContent")) {
            walk(child);
        }
        // Properties, deleted text, section properties, text boxes: not part of the main text.
    }
}

void OoxmlText::walkRun(pugi::xml_node run)
{
    for (pugi::xml_node child = run.first_child(); child; child = child.next_sibling()) {
        if (named(child, "w:fldChar")) {
            const char* type = child.attribute("w:fldCharType").value();
            if (std::strcmp(type, "begin") == 0) {
                ++m_fieldDepth;
                ++m_fieldCodeDepth;
            } else if (std::strcmp(type, "separate") == 0) {
                m_fieldCodeDepth = qMax(0, m_fieldCodeDepth - 1);
            } else if (std::strcmp(type, "end") == 0 && m_fieldDepth > 0) {
                if (m_fieldCodeDepth >= m_fieldDepth) {
                    --m_fieldCodeDepth;
                }
                --m_fieldDepth;
            }
            continue;
        }
        if (m_fieldCodeDepth > 0) {
            continue; // the code of a field is not shown, its result is
        }
        if (named(child, "w:t")) {
            const QString text = QString::fromUtf8(child.text().get());
            m_spans.push_back({child, m_text.size(), text.size()});
            m_text += text;
        } else if (named(child, "w:tab") || named(child, "w:ptab")) {
            m_text += u'\t';
        } else if (named(child, "w:br")) {
            const char* type = child.attribute("w:type").value();
            m_text += std::strcmp(type, "page") == 0     ? QChar(u'\f')
                      : std::strcmp(type, "column") == 0 ? QChar(u'\x0e')
                                                         : QChar(u'\v');
        } else if (named(child, "w:cr")) {
            m_text += u'\v';
        } else if (named(child, "w:noBreakHyphen")) {
            m_text += QChar(u'\x1e');
        } else if (named(child, "w:softHyphen")) {
            m_text += QChar(u'\x1f');
        } else if (named(child, "w:footnoteReference") || named(child, "w:endnoteReference")) {
            m_text += QChar(u'\x02');
        } else if (named(child, "w:drawing") || named(child, "w:pict") || named(child, "w:object")) {
            m_text += QChar(u'\x01');
        } else if (named(child, "w:sym")) {
            m_text += QChar(u'(');
        }
    }
}

void OoxmlText::walkTable(pugi::xml_node table)
{
    for (pugi::xml_node row = table.child("w:tr"); row; row = row.next_sibling("w:tr")) {
        for (pugi::xml_node cell = row.child("w:tc"); cell; cell = cell.next_sibling("w:tc")) {
            pugi::xml_node last;
            for (pugi::xml_node paragraph = cell.child("w:p"); paragraph; paragraph = paragraph.next_sibling("w:p")) {
                last = paragraph;
            }
            const pugi::xml_node outer = m_lastCellParagraph;
            m_lastCellParagraph = last;
            walk(cell);
            m_lastCellParagraph = outer;
        }
        m_text += u"\r\a"_s; // the end of the row
    }
}

void OoxmlText::endParagraph(pugi::xml_node paragraph)
{
    // The last paragraph of a table cell ends with the cell mark.
    m_text += paragraph == m_lastCellParagraph ? u"\r\a"_s : u"\r"_s;
}

void OoxmlText::setText(pugi::xml_node element, const QString& text)
{
    element.text().set(text.toUtf8().constData());
    const bool edgeSpace = !text.isEmpty() && (text.front().isSpace() || text.back().isSpace());
    if (edgeSpace || text.contains(u"  "_s)) {
        pugi::xml_attribute space = element.attribute("xml:space");
        if (!space) {
            space = element.append_attribute("xml:space");
        }
        space.set_value("preserve");
    }
}

void OoxmlText::setRunContent(pugi::xml_node element, const QString& text)
{
    // The elements follow the w:t in the same run, so they take its formatting.
    QString piece;
    pugi::xml_node current = element;
    pugi::xml_node last = element;
    const auto place = [&](const char* name) {
        setText(current, piece);
        piece.clear();
        last = element.parent().insert_child_after(name, last);
        current = pugi::xml_node();
        return last;
    };
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code >= 0x20 && code != 0xFFFE && code != 0xFFFF) {
            if (!current) {
                current = last = element.parent().insert_child_after("w:t", last);
            }
            piece += c;
        } else if (code == u'\t') {
            place("w:tab");
        } else if (code == u'\r' || code == u'\n' || code == u'\v') {
            place("w:br");
        } else if (code == u'\f') {
            place("w:br").append_attribute("w:type").set_value("page");
        }
    }
    if (current) {
        setText(current, piece);
    }
}

int OoxmlText::replace(const std::vector<Edit>& edits)
{
    // The new text of each run touched, built from left to right: `consumed` counts the
    // characters of the old text already copied or dropped.
    struct NewRun
    {
        QString old;
        QString text;
        qsizetype consumed = 0;
    };
    std::map<size_t, NewRun> runs;
    const auto newRun = [&](size_t index) -> NewRun& {
        auto [at, added] = runs.try_emplace(index);
        if (added) {
            at->second.old = QString::fromUtf8(m_spans[index].element.text().get());
        }
        return at->second;
    };
    int replaced = 0;
    for (const Edit& edit : edits) {
        // The spans the range touches, which must cover it without a gap.
        const auto first =
            std::lower_bound(m_spans.begin(), m_spans.end(), edit.start,
                             [](const Span& span, qsizetype at) { return span.start + span.length <= at; });
        if (first == m_spans.end() || first->start > edit.start) {
            continue;
        }
        auto last = first;
        qsizetype covered = first->start + first->length;
        while (covered < edit.end && last + 1 != m_spans.end() && (last + 1)->start == covered) {
            ++last;
            covered = last->start + last->length;
        }
        if (covered < edit.end) {
            continue;
        }
        const auto index = static_cast<size_t>(first - m_spans.begin());
        NewRun& head = newRun(index);
        head.text += QStringView(head.old).sliced(head.consumed, edit.start - first->start - head.consumed);
        head.text += edit.replacement;
        head.consumed = first == last ? edit.end - first->start : head.old.size();
        for (auto middle = first + 1; middle <= last; ++middle) {
            NewRun& run = newRun(static_cast<size_t>(middle - m_spans.begin()));
            run.consumed = middle == last ? edit.end - middle->start : run.old.size();
        }
        ++replaced;
    }
    for (auto& [index, run] : runs) {
        run.text += QStringView(run.old).sliced(run.consumed);
        setRunContent(m_spans[index].element, run.text);
    }
    return replaced;
}

} // namespace wordlink
