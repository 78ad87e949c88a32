#pragma once
// Two-way bindings between widgets and the control models. A widget shows what its model holds
// and hands the user's changes to the model, which raises the handlers; it keeps nothing of its
// own. Sliders report on release, as the box wants one command per move, not one per pixel.

#include <QAbstractButton>
#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QSlider>
#include <QTabWidget>
#include <QWidget>
#include <vector>

#include "platform/controls.h"

namespace velto::gui {

/// Visibility, enablement and tooltip follow the model.
void bindCommon(QWidget* widget, Control& model);

void bind(QLabel* widget, Label& model);
void bind(QGroupBox* widget, GroupBox& model);
void bind(QSlider* widget, Slider& model);
void bind(QAbstractButton* widget, PushButton& model);
void bind(QRadioButton* widget, RadioButton& model);
/// Radio buttons of one group, one per model, named after it and added to `row`: choosing one
/// switches the others' models off.
void radioGroup(QBoxLayout* row, const std::vector<RadioButton*>& models);
void bind(QCheckBox* widget, CheckBox& model);
void bind(QComboBox* widget, PopupMenu& model);
void bind(QLineEdit* widget, TextField& model);
void bind(QPlainTextEdit* widget, TextArea& model);
/// The current tab. Bind after the view has added the tabs.
void bind(QTabWidget* widget, TabPanel& model);

/// A new widget named after its model and bound to it.
template <class W, class M>
W* bound(M& model) {
    auto* widget = new W;
    widget->setObjectName(model.name());
    bind(widget, model);
    return widget;
}

/// Disconnects a model listener when the widget goes, so a model never calls a dead widget.
void onModel(QWidget* widget, Signal<>& signal, std::function<void()> refresh);

}  // namespace velto::gui
