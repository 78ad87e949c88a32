#include "gui/listbox_model.h"

#include <QFont>
#include <QMimeData>
#include <algorithm>

#include "platform/listbox.h"

namespace velto {

namespace {
const QString kMime = QStringLiteral("application/x-velto-row");
}

ListboxModel::ListboxModel(Listbox& list, QObject* parent) : QAbstractTableModel(parent), list_(list) {
    rowsId_ = list_.rowsChanged.connect([this] {
        beginResetModel();
        endResetModel();
    });
}

ListboxModel::~ListboxModel() { list_.rowsChanged.disconnect(rowsId_); }

int ListboxModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : list_.listCount();
}

int ListboxModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : list_.columnCount();
}

QVariant ListboxModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= list_.listCount()) return {};
    const int row = index.row(), column = index.column();
    const bool checkColumn = list_.columnType(column) == Listbox::TypeCheckbox;
    switch (role) {
        case Qt::DisplayRole:
        case Qt::EditRole:
            return checkColumn ? QVariant() : QVariant(list_.cell(row, column));
        case Qt::CheckStateRole:
            if (!checkColumn) return {};
            return list_.cellState(row, column) == 1   ? Qt::Checked
                   : list_.cellState(row, column) == 2 ? Qt::PartiallyChecked
                                                       : Qt::Unchecked;
        case Qt::FontRole:
            if (list_.cellItalic(row, column)) {
                QFont font;
                font.setItalic(true);
                return font;
            }
            return {};
        default:
            return {};
    }
}

bool ListboxModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.row() >= list_.listCount()) return false;
    const int row = index.row(), column = index.column();
    if (role == Qt::EditRole) {
        list_.setCell(row, column, value.toString());
    } else if (role == Qt::CheckStateRole) {
        list_.setCellState(row, column, value.toInt() == Qt::Checked ? 1 : 0);
    } else {
        return false;
    }
    list_.cellAction(row, column);
    return true;
}

QVariant ListboxModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    return section < list_.headings().size() ? list_.headings()[section] : QString();
}

Qt::ItemFlags ListboxModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return list_.dragReorder() ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
    Qt::ItemFlags f = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    if (list_.dragReorder()) f |= Qt::ItemIsDragEnabled;
    switch (list_.columnType(index.column())) {
        case Listbox::TypeEditable: f |= Qt::ItemIsEditable; break;
        case Listbox::TypeCheckbox: f |= Qt::ItemIsUserCheckable; break;
        default: break;
    }
    return f;
}

QStringList ListboxModel::mimeTypes() const { return {kMime}; }

QMimeData* ListboxModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(kMime, QByteArray::number(indexes.first().row()));
    return data;
}

bool ListboxModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int,
                                const QModelIndex& parent) {
    if (action != Qt::MoveAction || !data->hasFormat(kMime)) return false;
    const int from = data->data(kMime).toInt();
    int to = row >= 0 ? row : parent.isValid() ? parent.row() : list_.listCount();
    if (to > from) --to;  // the row leaves its place before it lands
    to = std::clamp(to, 0, list_.listCount() - 1);
    if (from < 0 || from >= list_.listCount() || from == to) return false;
    list_.moveRow(from, to);
    // The move is done; the view must not remove the source row itself.
    return false;
}

bool ListboxModel::columnHidden(int column) const {
    const QStringList widths = list_.columnWidths().split(QLatin1Char(','));
    return column < widths.size() && widths[column].trimmed() == QLatin1String("0");
}

}  // namespace velto
