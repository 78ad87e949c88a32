#include "platform/controls.h"

#include <algorithm>

#include "platform/boundary.h"

namespace velto {

void Control::setVisible(bool v) {
    if (v == visible_) return;
    visible_ = v;
    changed();
}

void Control::setEnabled(bool e) {
    if (e == enabled_) return;
    enabled_ = e;
    changed();
}

void Control::setHelpTag(const QString& tag) {
    helpTag_ = tag;
    changed();
}

void Label::setText(const QString& text) {
    if (text == text_) return;
    text_ = text;
    changed();
}

Slider::Slider(QString name, int minimum, int maximum, int value, int pageStep, int lineStep)
    : Control(std::move(name)),
      minimum_(minimum),
      maximum_(maximum),
      value_(std::clamp(value, minimum, std::max(minimum, maximum))),
      pageStep_(pageStep),
      lineStep_(lineStep) {}

void Slider::setValue(int value) {
    const int clipped = std::clamp(value, minimum_, std::max(minimum_, maximum_));
    if (clipped == value_) return;
    value_ = clipped;
    changed();
    valueChanged();
}

void Slider::setMinimum(int m) {
    minimum_ = m;
    changed();
    setValue(value_);
}

void Slider::setMaximum(int m) {
    maximum_ = m;
    changed();
    setValue(value_);
}

void Slider::setPageStep(int s) {
    pageStep_ = s;
    changed();
}

void Slider::setLineStep(int s) {
    lineStep_ = s;
    changed();
}

void TextField::setText(const QString& text) {
    if (text == text_) return;
    text_ = text;
    changed();
    textChanged();
}

void TextField::setCueText(const QString& cue) {
    if (cue == cueText_) return;
    cueText_ = cue;
    changed();
}

void TextArea::setText(const QString& text) {
    text_ = text;
    lineCount_ = static_cast<int>(text_.count(QLatin1Char('\n')));
    trim();
    changed();
}

void TextArea::append(const QString& more) {
    text_ += more;
    lineCount_ += static_cast<int>(more.count(QLatin1Char('\n')));
    const int before = lineCount_;
    trim();
    if (lineCount_ != before)
        changed();  // lines fell off the front: a view must reload
    else
        appended(more);
}

void TextArea::trim() {
    if (maxLines_ <= 0 || lineCount_ <= maxLines_) return;
    // Drop a tenth more than needed, so the cut is not made at every line.
    const int drop = lineCount_ - maxLines_ + maxLines_ / 10;
    qsizetype pos = 0;
    for (int i = 0; i < drop && pos >= 0; ++i) {
        pos = text_.indexOf(QLatin1Char('\n'), pos);
        if (pos >= 0) ++pos;
    }
    if (pos < 0) pos = text_.size();
    text_.remove(0, pos);
    lineCount_ -= drop;
}

void CheckBox::setState(int state) {
    if (state < 0 || state > 2) state = 0;
    if (state == state_) return;
    state_ = state;
    changed();
    action();
}

void RadioButton::setValue(bool v) {
    if (v == value_) return;
    value_ = v;
    changed();
    if (value_) action();
}

void PushButton::setCaption(const QString& c) {
    caption_ = c;
    changed();
}

PopupMenu::PopupMenu(QString name, QStringList rows, int listIndex)
    : Control(std::move(name)), rows_(std::move(rows)), listIndex_(listIndex) {}

void PopupMenu::setListIndex(int index) {
    if (index < -1 || index >= listCount())
        throw OutOfBounds("ListIndex " + std::to_string(index) + " out of bounds (" +
                          std::to_string(listCount()) + " rows)");
    if (index == listIndex_) return;
    listIndex_ = index;
    changed();
    change();
}

QString PopupMenu::list(int row) const { return at(rows_, row); }

void PopupMenu::addRow(const QString& text) {
    rows_.append(text);
    changed();
}

void PopupMenu::insertRow(int index, const QString& text) {
    rows_.insert(std::clamp<qsizetype>(index, 0, rows_.size()), text);
    changed();
}

void PopupMenu::deleteAllRows() {
    rows_.clear();
    listIndex_ = -1;
    changed();
}

QString PopupMenu::text() const {
    return listIndex_ >= 0 && listIndex_ < listCount() ? rows_[listIndex_] : QString();
}

void Canvas::setBackdrop(const QString& picture) {
    if (picture == backdrop_) return;
    backdrop_ = picture;
    changed();
}

void TabPanel::setValue(int tab) {
    if (tab == value_) return;
    value_ = tab;
    changed();
}

void Window::setTitle(const QString& title) {
    if (title == title_) return;
    title_ = title;
    changed();
}

void Window::close() {
    setVisible(false);
    closed();
}

}  // namespace velto
