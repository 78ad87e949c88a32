#pragma once
// The list control that is the favourites store: rows of text cells, a check state per cell,
// a tag per row, italic cells, one selectable row, and LastIndex, the row added last (not the
// row count). Cell access is checked and throws OutOfBounds, as the system expects.

#include <QString>
#include <QStringList>
#include <QVariant>
#include <vector>

#include "platform/controls.h"

namespace velto {

class Listbox : public Control {
public:
    enum CellType { TypeDefault = 0, TypeNormal = 1, TypeCheckbox = 2, TypeEditable = 3 };

    Listbox(QString name, int columnCount);

    int columnCount() const { return columnCount_; }
    int listCount() const { return static_cast<int>(rows_.size()); }
    /// The row added last by addRow, or -1 when none has been added since creation.
    int lastIndex() const { return lastIndex_; }

    /// Adds a row with the given first cells; the others are empty. Returns its number.
    int addRow(const QStringList& cells);
    void insertRow(int row, const QStringList& cells);
    void removeRow(int row);
    void deleteAllRows();
    /// Moves a row, as a drag in the list does.
    void moveRow(int from, int to);

    QString cell(int row, int column) const;
    void setCell(int row, int column, const QString& text);
    /// Check state of a cell: 0 unticked, 1 ticked, 2 mixed.
    int cellState(int row, int column) const;
    void setCellState(int row, int column, int state);
    bool cellCheck(int row, int column) const { return cellState(row, column) == 1; }
    void setCellCheck(int row, int column, bool ticked) { setCellState(row, column, ticked ? 1 : 0); }
    bool cellItalic(int row, int column) const;
    void setCellItalic(int row, int column, bool italic);
    QVariant rowTag(int row) const;
    void setRowTag(int row, const QVariant& tag);

    bool selected(int row) const;
    void setSelected(int row, bool selected);
    /// The selected row, or -1.
    int listIndex() const { return selectedRow_; }
    void setListIndex(int row);

    CellType columnType(int column) const;
    void setColumnType(int column, CellType type);
    const QStringList& headings() const { return headings_; }
    void setHeadings(const QStringList& headings);
    const QString& columnWidths() const { return columnWidths_; }
    void setColumnWidths(const QString& widths);
    bool dragReorder() const { return dragReorder_; }
    void setDragReorder(bool on) { dragReorder_ = on; }

    /// Raised when the selection changes.
    Signal<> change;
    /// Raised when a cell is edited by the user (text or check state).
    Signal<int, int> cellAction;
    /// Raised when rows are added, removed, moved or their cells changed.
    Signal<> rowsChanged;

private:
    struct Row {
        QStringList cells;
        std::vector<int> states;
        std::vector<bool> italic;
        QVariant tag;
    };
    Row& rowAt(int row);
    const Row& rowAt(int row) const;
    void checkColumn(int column) const;
    Row makeRow(const QStringList& cells) const;

    int columnCount_;
    std::vector<Row> rows_;
    std::vector<CellType> columnTypes_;
    QStringList headings_;
    QString columnWidths_;
    bool dragReorder_ = false;
    int lastIndex_ = -1;
    int selectedRow_ = -1;
};

}  // namespace velto
