#pragma once

#include <QString>

// The captions of the wizard's Next button.
namespace WizardCaptions {

inline const QString NextCaption = QStringLiteral("Next>>");
inline const QString StartCaption = QStringLiteral("Start");
inline const QString FinishCaption = QStringLiteral("Finish");

} // namespace WizardCaptions

// The change mark in a control's Tag: a later step of the wizard must be redone ("change", in
// lower case, from typing in a template box).
namespace WizardMarks {

inline const QString Change = QStringLiteral("Change");

} // namespace WizardMarks
