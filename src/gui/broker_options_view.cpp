#include "gui/broker_options_view.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QVBoxLayout>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

namespace {

using gui::bound;

/// One column of names shown from a Listbox. A drag takes the row out of the list as it starts,
/// so a drop anywhere but on a list deletes the name; any text dropped here becomes a last row.
class NameList final : public QListWidget {
public:
    NameList(Listbox& model, ExceptionBoundary& boundary, std::function<QString(int)> dragRow,
             std::function<void(const QString&)> dropObject)
        : model_(model), boundary_(boundary), dragRow_(std::move(dragRow)), dropObject_(std::move(dropObject)) {
        setObjectName(model.name());
        setSelectionMode(QAbstractItemView::SingleSelection);
        setDragEnabled(true);
        setAcceptDrops(true);
        setDropIndicatorShown(false);
        gui::bindCommon(this, model);
        reload();
        gui::onModel(this, model.rowsChanged, [this] { reload(); });
        connect(this, &QListWidget::currentRowChanged, this, [this](int row) {
            if (row != model_.listIndex() && row < model_.listCount())
                boundary_.run([this, row] { model_.setListIndex(row); });
        });
    }

protected:
    void startDrag(Qt::DropActions) override {
        const int row = currentRow();
        if (row < 0) return;
        QString text;
        boundary_.run([&] { text = dragRow_(row); });
        auto* data = new QMimeData;
        data->setText(text);
        auto* drag = new QDrag(this);
        drag->setMimeData(data);
        drag->exec(Qt::MoveAction | Qt::CopyAction);
    }
    void dragEnterEvent(QDragEnterEvent* event) override {
        if (event->mimeData()->hasText()) event->acceptProposedAction();
    }
    void dragMoveEvent(QDragMoveEvent* event) override {
        if (event->mimeData()->hasText()) event->acceptProposedAction();
    }
    void dropEvent(QDropEvent* event) override {
        if (!event->mimeData()->hasText()) return;
        const QString text = event->mimeData()->text();
        boundary_.run([&] { dropObject_(text); });
        event->acceptProposedAction();
    }

private:
    void reload() {
        const QSignalBlocker block(this);
        clear();
        for (int row = 0; row < model_.listCount(); ++row) addItem(model_.cell(row, 0));
        setCurrentRow(model_.listIndex());
    }

    Listbox& model_;
    ExceptionBoundary& boundary_;
    std::function<QString(int)> dragRow_;
    std::function<void(const QString&)> dropObject_;
};

QLabel* wrapped(Label& model) {
    auto* label = bound<QLabel>(model);
    label->setWordWrap(true);
    return label;
}

}  // namespace

BrokerOptionsView::BrokerOptionsView(MainApp& app, QWidget* parent)
    : ModelWindow(app.brokerOptions.window, app.platform().boundary, parent), app_(app) {
    MainApp::BrokerOptions& w = app_.brokerOptions;
    resize(MainApp::BrokerOptions::kWidth, MainApp::BrokerOptions::kHeight);

    auto* column = new QVBoxLayout(this);
    column->addWidget(wrapped(w.Label1));
    column->addSpacing(6);
    column->addWidget(bound<QLabel>(w.Label2));
    column->addWidget(wrapped(w.Label3));
    column->addWidget(bound<QLineEdit>(w.autoUser));
    column->addSpacing(6);
    column->addWidget(wrapped(w.Label4));
    auto* lists = new QGridLayout;
    lists->addWidget(bound<QLabel>(w.Label5), 0, 0);
    lists->addWidget(bound<QLabel>(w.Label6), 0, 1);
    lists->addWidget(
        new NameList(
            w.acceptList, boundary_, [this](int row) { return app_.acceptList_DragRow(row); },
            [this](const QString& text) { app_.acceptList_DropObject(text); }),
        1, 0);
    lists->addWidget(
        new NameList(
            w.rejectList, boundary_, [this](int row) { return app_.rejectList_DragRow(row); },
            [this](const QString& text) { app_.rejectList_DropObject(text); }),
        1, 1);
    column->addLayout(lists, 1);
    column->addWidget(wrapped(w.Label7));
    auto* addRow = new QHBoxLayout;
    addRow->addWidget(bound<QLineEdit>(w.addNew), 1);
    addRow->addWidget(bound<QPushButton>(w.BevelButton1));
    column->addLayout(addRow);
    column->addSpacing(6);
    column->addWidget(bound<QLabel>(w.Label8));
    column->addWidget(bound<QLineEdit>(w.vbProfile));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* done = bound<QPushButton>(w.boptsSave);
    done->setDefault(true);
    buttons->addWidget(done);
    column->addLayout(buttons);

    // Closed by its close box rather than by Done: the edits are lost.
    followModel();
}

}  // namespace velto
