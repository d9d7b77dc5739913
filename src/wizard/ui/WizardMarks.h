#pragma once

#include <QString>

// The captions of the wizard's Next button.
namespace WizardCaptions {

inline const QString NextCaption = QStringLiteral("Next>>");
inline const QString StartCaption = QStringLiteral("Start");
inline const QString FinishCaption = QStringLiteral("Finish");

} // namespace WizardCaptions
