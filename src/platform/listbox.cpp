#include "platform/listbox.h"

#include "platform/boundary.h"

namespace velto {

Listbox::Listbox(QString name, int columnCount)
    : Control(std::move(name)), columnCount_(columnCount), columnTypes_(columnCount, TypeDefault) {}

Listbox::Row Listbox::makeRow(const QStringList& cells) const {
    Row row;
    for (int c = 0; c < columnCount_; ++c) row.cells.append(c < cells.size() ? cells[c] : QString());
    row.states.assign(columnCount_, 0);
    row.italic.assign(columnCount_, false);
    return row;
}

Listbox::Row& Listbox::rowAt(int row) { return at(rows_, row); }
const Listbox::Row& Listbox::rowAt(int row) const { return at(rows_, row); }

void Listbox::checkColumn(int column) const {
    if (column < 0 || column >= columnCount_)
        throw OutOfBounds("column " + std::to_string(column) + " out of bounds");
}

int Listbox::addRow(const QStringList& cells) {
    rows_.push_back(makeRow(cells));
    lastIndex_ = listCount() - 1;
    rowsChanged();
    return lastIndex_;
}

void Listbox::insertRow(int row, const QStringList& cells) {
    if (row < 0 || row > listCount()) throw OutOfBounds("row " + std::to_string(row) + " out of bounds");
    rows_.insert(rows_.begin() + row, makeRow(cells));
    lastIndex_ = row;
    if (selectedRow_ >= row) ++selectedRow_;
    rowsChanged();
}

void Listbox::removeRow(int row) {
    rowAt(row);
    rows_.erase(rows_.begin() + row);
    bool selectionChanged = false;
    if (selectedRow_ == row) {
        selectedRow_ = -1;
        selectionChanged = true;
    } else if (selectedRow_ > row) {
        --selectedRow_;
    }
    rowsChanged();
    if (selectionChanged) change();
}

void Listbox::deleteAllRows() {
    rows_.clear();
    const bool hadSelection = selectedRow_ != -1;
    selectedRow_ = -1;
    rowsChanged();
    if (hadSelection) change();
}

void Listbox::moveRow(int from, int to) {
    rowAt(from);
    if (to < 0 || to >= listCount()) throw OutOfBounds("row " + std::to_string(to) + " out of bounds");
    if (from == to) return;
    Row moving = std::move(rows_[from]);
    rows_.erase(rows_.begin() + from);
    rows_.insert(rows_.begin() + to, std::move(moving));
    if (selectedRow_ == from)
        selectedRow_ = to;
    else if (from < selectedRow_ && selectedRow_ <= to)
        --selectedRow_;
    else if (to <= selectedRow_ && selectedRow_ < from)
        ++selectedRow_;
    rowsChanged();
}

QString Listbox::cell(int row, int column) const {
    checkColumn(column);
    return rowAt(row).cells[column];
}

void Listbox::setCell(int row, int column, const QString& text) {
    checkColumn(column);
    rowAt(row).cells[column] = text;
    rowsChanged();
}

int Listbox::cellState(int row, int column) const {
    checkColumn(column);
    return rowAt(row).states[column];
}

void Listbox::setCellState(int row, int column, int state) {
    checkColumn(column);
    rowAt(row).states[column] = (state < 0 || state > 2) ? 0 : state;
    rowsChanged();
}

bool Listbox::cellItalic(int row, int column) const {
    checkColumn(column);
    return rowAt(row).italic[column];
}

void Listbox::setCellItalic(int row, int column, bool italic) {
    checkColumn(column);
    rowAt(row).italic[column] = italic;
    rowsChanged();
}

QVariant Listbox::rowTag(int row) const { return rowAt(row).tag; }

void Listbox::setRowTag(int row, const QVariant& tag) { rowAt(row).tag = tag; }

bool Listbox::selected(int row) const {
    rowAt(row);
    return selectedRow_ == row;
}

void Listbox::setSelected(int row, bool selected) {
    rowAt(row);
    if (selected)
        setListIndex(row);
    else if (selectedRow_ == row)
        setListIndex(-1);
}

void Listbox::setListIndex(int row) {
    if (row < -1 || row >= listCount()) throw OutOfBounds("row " + std::to_string(row) + " out of bounds");
    if (row == selectedRow_) return;
    selectedRow_ = row;
    changed();
    change();
}

Listbox::CellType Listbox::columnType(int column) const {
    checkColumn(column);
    return columnTypes_[column];
}

void Listbox::setColumnType(int column, CellType type) {
    checkColumn(column);
    columnTypes_[column] = type;
    changed();
}

void Listbox::setHeadings(const QStringList& headings) {
    headings_ = headings;
    changed();
}

void Listbox::setColumnWidths(const QString& widths) {
    columnWidths_ = widths;
    changed();
}

}  // namespace velto
