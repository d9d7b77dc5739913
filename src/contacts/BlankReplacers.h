#pragma once

#include <QString>

#include <array>

// The texts that stand in for an empty First Name, Last Name, Job Title or Company Name in a
// mail from a mapped source. Box 0 starts as "Sir", the others empty; they are remembered in
// the section "BlankFields".
struct BlankReplacers
{
    std::array<QString, 4> texts{QStringLiteral("Sir"), QString(), QString(), QString()};

    // The cell whose empty value replacer k stands in for: cells 1 to 4.
    static constexpr int cellOf(int k) { return k + 1; }

    static BlankReplacers load();
    void save() const;
};
