#include "gui/bind.h"

#include <QScrollBar>
#include <QSignalBlocker>

namespace velto::gui {

void onModel(QWidget* widget, Signal<>& signal, std::function<void()> refresh) {
    const int id = signal.connect(std::move(refresh));
    QObject::connect(widget, &QObject::destroyed, [&signal, id] { signal.disconnect(id); });
}

namespace {
// Shows the model's state now and after each of its changes.
void follow(QWidget* widget, Control& model, const std::function<void()>& refresh) {
    refresh();
    onModel(widget, model.changed, refresh);
}
}  // namespace

void bindCommon(QWidget* widget, Control& model) {
    auto refresh = [widget, &model] {
        widget->setEnabled(model.enabled());
        widget->setToolTip(model.helpTag());
        // A widget is bound before a layout takes it in: hidden now, it stays hidden there. It
        // is shown only once it has a parent, or it would come up as a window of its own.
        if (!model.visible()) widget->setVisible(false);
        else if (!widget->isWindow()) widget->setVisible(true);
    };
    follow(widget, model, refresh);
}

void bind(QLabel* widget, Label& model) {
    bindCommon(widget, model);
    auto refresh = [widget, &model] { widget->setText(model.text()); };
    follow(widget, model, refresh);
}

void bind(QGroupBox* widget, GroupBox& model) {
    bindCommon(widget, model);
    auto refresh = [widget, &model] { widget->setTitle(model.text()); };
    follow(widget, model, refresh);
}

void bind(QSlider* widget, Slider& model) {
    bindCommon(widget, model);
    widget->setTracking(false);
    auto refresh = [widget, &model] {
        const QSignalBlocker block(widget);
        widget->setRange(model.minimum(), model.maximum());
        widget->setPageStep(model.pageStep());
        widget->setSingleStep(model.lineStep());
        widget->setValue(model.value());
    };
    follow(widget, model, refresh);
    QObject::connect(widget, &QSlider::valueChanged, widget, [&model](int v) { model.setValue(v); });
}

void bind(QAbstractButton* widget, PushButton& model) {
    bindCommon(widget, model);
    auto refresh = [widget, &model] { widget->setText(model.caption()); };
    follow(widget, model, refresh);
    QObject::connect(widget, &QAbstractButton::clicked, widget, [&model] { model.push(); });
}

void bind(QRadioButton* widget, RadioButton& model) {
    bindCommon(widget, model);
    widget->setText(model.caption());
    widget->setAutoExclusive(false);  // the models decide which one is on
    auto refresh = [widget, &model] {
        const QSignalBlocker block(widget);
        widget->setChecked(model.value());
    };
    follow(widget, model, refresh);
    QObject::connect(widget, &QRadioButton::clicked, widget, [widget, &model] {
        model.setValue(true);
        const QSignalBlocker block(widget);
        widget->setChecked(model.value());
    });
}

void radioGroup(QBoxLayout* row, const std::vector<RadioButton*>& models) {
    std::vector<std::pair<QRadioButton*, RadioButton*>> group;
    for (RadioButton* model : models) {
        auto* widget = new QRadioButton;
        widget->setObjectName(model->name());
        group.emplace_back(widget, model);
    }
    for (const auto& [widget, model] : group) {
        // Connected before the button's own binding, so the others go off before it comes on.
        QObject::connect(widget, &QRadioButton::clicked, widget, [group, model = model] {
            if (model->value()) return;
            for (const auto& other : group)
                if (other.second != model) other.second->setValue(false);
        });
        bind(widget, *model);
        row->addWidget(widget);
    }
}

void bind(QCheckBox* widget, CheckBox& model) {
    bindCommon(widget, model);
    widget->setText(model.caption());
    widget->setTristate(false);
    auto refresh = [widget, &model] {
        const QSignalBlocker block(widget);
        widget->setCheckState(model.state() == 1   ? Qt::Checked
                              : model.state() == 2 ? Qt::PartiallyChecked
                                                   : Qt::Unchecked);
    };
    follow(widget, model, refresh);
    QObject::connect(widget, &QCheckBox::clicked, widget, [&model](bool checked) { model.setValue(checked); });
}

void bind(QComboBox* widget, PopupMenu& model) {
    bindCommon(widget, model);
    auto refresh = [widget, &model] {
        const QSignalBlocker block(widget);
        QStringList shown;
        for (int i = 0; i < widget->count(); ++i) shown.append(widget->itemText(i));
        if (shown != model.rows()) {
            widget->clear();
            widget->addItems(model.rows());
        }
        widget->setCurrentIndex(model.listIndex());
    };
    follow(widget, model, refresh);
    QObject::connect(widget, &QComboBox::activated, widget, [&model](int index) { model.setListIndex(index); });
}

void bind(QLineEdit* widget, TextField& model) {
    bindCommon(widget, model);
    auto refresh = [widget, &model] {
        widget->setPlaceholderText(model.cueText());
        if (widget->text() == model.text()) return;
        const QSignalBlocker block(widget);
        widget->setText(model.text());
    };
    follow(widget, model, refresh);
    QObject::connect(widget, &QLineEdit::textEdited, widget, [&model](const QString& t) { model.setText(t); });
}

void bind(QPlainTextEdit* widget, TextArea& model) {
    bindCommon(widget, model);
    widget->setReadOnly(true);
    auto scrollToEnd = [widget] { widget->verticalScrollBar()->setValue(widget->verticalScrollBar()->maximum()); };
    auto reload = [widget, &model, scrollToEnd] {
        widget->setPlainText(model.text());
        scrollToEnd();
    };
    reload();
    onModel(widget, model.changed, reload);
    const int id = model.appended.connect([widget, scrollToEnd](const QString& more) {
        QTextCursor cursor(widget->document());
        cursor.movePosition(QTextCursor::End);
        QString text = more;
        text.remove(QLatin1Char('\r'));
        cursor.insertText(text);
        scrollToEnd();
    });
    QObject::connect(widget, &QObject::destroyed, [&model, id] { model.appended.disconnect(id); });
}

void bind(QTabWidget* widget, TabPanel& model) {
    bindCommon(widget, model);
    auto refresh = [widget, &model] {
        const QSignalBlocker block(widget);
        widget->setCurrentIndex(model.value());
    };
    follow(widget, model, refresh);
    QObject::connect(widget, &QTabWidget::currentChanged, widget, [&model](int tab) { model.setValue(tab); });
}

}  // namespace velto::gui
