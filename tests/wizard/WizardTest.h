#pragma once

// What the tests of the wizard window share: the fixture and the widgets its pages are made of.
#include "WizardFixture.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "wizard/ui/ContactListView.h"
#include "wizard/ui/ProgressPanel.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
