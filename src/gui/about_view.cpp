#include "gui/about_view.h"

#include <QHBoxLayout>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>
#include <cmath>
#include <numbers>

#include "device/main_app.h"
#include "gui/bind.h"

namespace velto {

namespace {

using gui::bound;

// One channel's trace across the picture: a burst of pulses that swells and fades.
QPainterPath trace(int size, double baseline, double height, double phase) {
    QPainterPath path;
    const int steps = 96;
    for (int i = 0; i <= steps; ++i) {
        const double t = double(i) / steps;
        const double swell = std::sin(t * std::numbers::pi);
        const double y = baseline - height * swell * std::sin(t * 6 * std::numbers::pi * 2 + phase);
        const QPointF point(size * (0.12 + 0.76 * t), y);
        if (i == 0)
            path.moveTo(point);
        else
            path.lineTo(point);
    }
    return path;
}

}  // namespace

QPixmap AboutView::appPicture(int size) {
    QPixmap picture(size, size);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    QLinearGradient fill(0, 0, 0, size);
    fill.setColorAt(0, QColor(0x2b, 0x4a, 0x7a));
    fill.setColorAt(1, QColor(0x12, 0x1f, 0x38));
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(0, 0, size, size).adjusted(1, 1, -1, -1), size * 0.2, size * 0.2);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(0x7f, 0xd6, 0xff), size / 28.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(trace(size, size * 0.38, size * 0.16, 0));
    painter.setPen(QPen(QColor(0xff, 0xa3, 0x4d), size / 28.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(trace(size, size * 0.68, size * 0.13, std::numbers::pi / 2));
    return picture;
}

AboutView::AboutView(MainApp& app, QWidget* parent)
    : ModelWindow(app.aboutQTR.window, app.platform().boundary, parent), app_(app) {
    MainApp::AboutWindow& about = app.aboutQTR;
    setFixedSize(MainApp::AboutWindow::kWidth, MainApp::AboutWindow::kHeight);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(8);

    auto* head = new QHBoxLayout;
    auto* canvas = new QLabel;
    canvas->setObjectName(about.Canvas1.name());
    gui::bindCommon(canvas, about.Canvas1);
    canvas->setPixmap(appPicture(72));
    canvas->setFixedSize(72, 72);
    head->addWidget(canvas);
    auto* names = new QVBoxLayout;
    auto* title = bound<QLabel>(about.Label1);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    title->setFont(big);
    names->addWidget(title);
    names->addWidget(bound<QLabel>(about.versionMajor));
    names->addWidget(bound<QLabel>(about.buildInfo));
    names->addStretch();
    head->addLayout(names, 1);
    column->addLayout(head);

    auto* info = bound<QLabel>(about.appInfoText);
    info->setWordWrap(true);
    info->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    column->addWidget(info, 1);

    auto* changes = bound<QLabel>(about.changelog);
    changes->setStyleSheet(QStringLiteral("color: palette(link); text-decoration: underline;"));
    changes->setCursor(Qt::PointingHandCursor);
    changes->installEventFilter(this);
    column->addWidget(changes);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(bound<QPushButton>(about.docsButton));
    buttons->addWidget(bound<QPushButton>(about.aboutVBbutton));
    buttons->addStretch();
    column->addLayout(buttons);

    followModel();
}

bool AboutView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress && watched->objectName() == app_.aboutQTR.changelog.name()) {
        boundary_.run([this] { app_.changelog_MouseDown(); });
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace velto
