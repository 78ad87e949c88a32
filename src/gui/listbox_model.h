#pragma once
// Shows a Listbox to a Qt item view: text cells, the check box column, italic cells, editing
// and reordering by drag. Everything is read from and written to the Listbox; nothing is kept.

#include <QAbstractTableModel>

namespace velto {

class Listbox;

class ListboxModel final : public QAbstractTableModel {
public:
    explicit ListboxModel(Listbox& list, QObject* parent = nullptr);
    ~ListboxModel() override;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    /// Columns with a width of 0 in the list's column widths are hidden.
    bool columnHidden(int column) const;

private:
    Listbox& list_;
    int rowsId_ = 0;
};

}  // namespace velto
