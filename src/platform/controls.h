#pragma once
// The control models: plain objects that hold a control's state and raise its events. The
// system keeps its state in them (a level is a slider's value, a favourite a row of a list),
// handlers read them as the state of record, and a change by code raises the same event as a
// change by the user. Views in gui/ bind widgets to these both ways and hold nothing themselves.

#include <QString>
#include <QStringList>
#include <QVariant>
#include <vector>

#include "platform/signal.h"

namespace velto {

/// What every control has: a name, whether it is shown and usable, a help tag.
class Control {
public:
    explicit Control(QString name) : name_(std::move(name)) {}
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const QString& name() const { return name_; }

    bool visible() const { return visible_; }
    void setVisible(bool v);
    bool enabled() const { return enabled_; }
    void setEnabled(bool e);
    const QString& helpTag() const { return helpTag_; }
    void setHelpTag(const QString& tag);

    /// Raised on any change of the control's state, for views to refresh.
    Signal<> changed;

protected:
    QString name_;
    bool visible_ = true;
    bool enabled_ = true;
    QString helpTag_;
};

/// Static or written text.
class Label : public Control {
public:
    explicit Label(QString name, QString text = {}) : Control(std::move(name)), text_(std::move(text)) {}
    const QString& text() const { return text_; }
    void setText(const QString& text);

private:
    QString text_;
};

class GroupBox : public Label {
public:
    using Label::Label;
};

/// A slider: a set is clipped to the range, and a set that leaves the value as it was raises
/// no ValueChanged.
class Slider : public Control {
public:
    Slider(QString name, int minimum, int maximum, int value, int pageStep = 20, int lineStep = 1);

    int value() const { return value_; }
    void setValue(int value);
    int minimum() const { return minimum_; }
    int maximum() const { return maximum_; }
    void setMinimum(int m);
    void setMaximum(int m);
    int pageStep() const { return pageStep_; }
    void setPageStep(int s);
    int lineStep() const { return lineStep_; }
    void setLineStep(int s);

    Signal<> valueChanged;

private:
    int minimum_, maximum_, value_, pageStep_, lineStep_;
};

class TextField : public Control {
public:
    explicit TextField(QString name, QString text = {}) : Control(std::move(name)), text_(std::move(text)) {}
    const QString& text() const { return text_; }
    void setText(const QString& text);
    Signal<> textChanged;
    /// The grey hint shown while the field is empty.
    const QString& cueText() const { return cueText_; }
    void setCueText(const QString& cue);

private:
    QString text_;
    QString cueText_;
};

/// Multi-line text. Appending keeps at most `maxLines` lines when a cap is set.
class TextArea : public Control {
public:
    explicit TextArea(QString name) : Control(std::move(name)) {}
    const QString& text() const { return text_; }
    void setText(const QString& text);
    /// Appends `more`, dropping whole lines from the front beyond the line cap.
    void append(const QString& more);
    void setMaxLines(int lines) { maxLines_ = lines; }
    int lineCount() const { return lineCount_; }

    /// Raised with the appended text (views append instead of reloading everything).
    Signal<const QString&> appended;

private:
    void trim();
    QString text_;
    int maxLines_ = 0;
    int lineCount_ = 0;
};

/// A check box: state 0 unticked, 1 ticked, 2 mixed. Action runs on every change of state.
class CheckBox : public Control {
public:
    CheckBox(QString name, QString caption, int state = 0)
        : Control(std::move(name)), caption_(std::move(caption)), state_(state) {}
    const QString& caption() const { return caption_; }
    int state() const { return state_; }
    void setState(int state);
    bool value() const { return state_ == 1; }
    void setValue(bool v) { setState(v ? 1 : 0); }
    Signal<> action;

private:
    QString caption_;
    int state_;
};

/// A radio button: Action runs when it becomes the chosen one.
class RadioButton : public Control {
public:
    RadioButton(QString name, QString caption, bool value = false)
        : Control(std::move(name)), caption_(std::move(caption)), value_(value) {}
    const QString& caption() const { return caption_; }
    bool value() const { return value_; }
    void setValue(bool v);
    Signal<> action;

private:
    QString caption_;
    bool value_;
};

class PushButton : public Control {
public:
    PushButton(QString name, QString caption) : Control(std::move(name)), caption_(std::move(caption)) {}
    const QString& caption() const { return caption_; }
    void setCaption(const QString& c);
    /// Runs the same action as a click.
    void push() { action(); }
    Signal<> action;

private:
    QString caption_;
};

/// A popup menu: rows of text and the chosen row (ListIndex, -1 for none).
class PopupMenu : public Control {
public:
    PopupMenu(QString name, QStringList rows, int listIndex = 0);
    int listIndex() const { return listIndex_; }
    /// -1 clears the choice; an index past the rows throws OutOfBounds.
    void setListIndex(int index);
    int listCount() const { return static_cast<int>(rows_.size()); }
    /// Checked: throws OutOfBounds.
    QString list(int row) const;
    const QStringList& rows() const { return rows_; }
    void addRow(const QString& text);
    void insertRow(int index, const QString& text);
    void deleteAllRows();
    /// The text of the chosen row, or "" with none.
    QString text() const;
    Signal<> change;

private:
    QStringList rows_;
    int listIndex_;
};

/// Up and down arrows with no state of their own.
class UpDownArrows : public Control {
public:
    using Control::Control;
    Signal<> up;
    Signal<> down;
};

/// A drawing area showing one picture by name.
class Canvas : public Control {
public:
    using Control::Control;
    const QString& backdrop() const { return backdrop_; }
    void setBackdrop(const QString& picture);

private:
    QString backdrop_;
};

class TabPanel : public Control {
public:
    TabPanel(QString name, QStringList captions) : Control(std::move(name)), captions_(std::move(captions)) {}
    const QStringList& captions() const { return captions_; }
    int value() const { return value_; }
    void setValue(int tab);

private:
    QStringList captions_;
    int value_ = 0;
};

class MenuItem : public Control {
public:
    MenuItem(QString name, QString caption, QString shortcut = {})
        : Control(std::move(name)), caption_(std::move(caption)), shortcut_(std::move(shortcut)) {}
    const QString& caption() const { return caption_; }
    const QString& shortcut() const { return shortcut_; }
    /// Runs the item's handler, as a choice from the menu does.
    void push() { action(); }
    Signal<> action;

private:
    QString caption_;
    QString shortcut_;
};

/// A window: title, shown or hidden, closed by code or by the user.
class Window : public Control {
public:
    Window(QString name, QString title) : Control(std::move(name)), title_(std::move(title)) { visible_ = false; }
    const QString& title() const { return title_; }
    void setTitle(const QString& title);
    /// Shows the window; raises shown even when it was already shown, so a view brings it up.
    void show() {
        setVisible(true);
        shown();
    }
    Signal<> shown;
    /// Hides the window and raises closed, whether code or the user closed it.
    void close();
    Signal<> closed;
    /// Raised each time the window becomes the active one (views report it; tests call it).
    void activate() { activated(); }
    Signal<> activated;

private:
    QString title_;
};

}  // namespace velto
