#pragma once

#include <QString>

#include <pugixml.hpp>
#include <vector>

namespace wordlink {

// The main story of a document.xml as one text, the way Word gives Content.Text, with the
// place of every character that stands in a w:t element, so that a hit can be replaced in the
// runs it spans. Headers, footers, notes and comments live in other parts; text boxes, deleted
// text and field codes are left out here.
class OoxmlText
{
public:
    explicit OoxmlText(pugi::xml_node body);

    const QString& text() const { return m_text; }

    struct Edit
    {
        qsizetype start;
        qsizetype end;
        QString replacement;
    };

    // Replaces ranges of the text, given in order and apart, in one pass over the runs however
    // many fall in one run: the first run of a hit takes the replacement (a tab, a CR or LF in it
    // becomes the run's tab or line break), the other runs lose their part of it. A range that
    // holds characters of no w:t (a tab, a paragraph mark …) is not replaced. Returns how many
    // ranges were replaced.
    int replace(const std::vector<Edit>& edits);

    // Sets the text of a w:t; a tab, CR, LF, vertical tab or form feed in it becomes an element
    // of the run (tab, line break, page break) after it; other control characters are dropped.
    static void setRunContent(pugi::xml_node element, const QString& text);

private:
    struct Span
    {
        pugi::xml_node element; // a w:t
        qsizetype start;
        qsizetype length;
    };

    void walk(pugi::xml_node node);
    void walkRun(pugi::xml_node run);
    void walkTable(pugi::xml_node table);
    void endParagraph(pugi::xml_node paragraph);
    static void setText(pugi::xml_node element, const QString& text);

    QString m_text;
    std::vector<Span> m_spans;
    int m_fieldDepth = 0;     // fields open
    int m_fieldCodeDepth = 0; // of which in their code part
    pugi::xml_node m_lastCellParagraph;
};

} // namespace wordlink
