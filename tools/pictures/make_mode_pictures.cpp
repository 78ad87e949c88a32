// Draws the wave diagrams shown beside the mode popup, one PNG per picture name, into the
// folder given on the command line. Run once when the pictures change; the PNGs are committed.
//   make_mode_pictures resources/modes

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <functional>

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 100;
constexpr double kPi = 3.14159265358979;

// A trace is a level from 0 to 1 at each point of time t from 0 to 1.
using Trace = std::function<double(double t)>;

double square(double t, double periods, double duty) {
    const double phase = std::fmod(t * periods, 1.0);
    return phase < duty ? 1.0 : 0.0;
}

void drawTrace(QPainter& p, const Trace& trace, double top, double height, const QColor& colour) {
    QPainterPath path;
    const int steps = 600;
    for (int i = 0; i <= steps; ++i) {
        const double t = static_cast<double>(i) / steps;
        const double x = 8 + t * (kWidth - 16);
        const double y = top + height - trace(t) * height;
        if (i == 0)
            path.moveTo(x, y);
        else
            path.lineTo(x, y);
    }
    p.setPen(QPen(colour, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(path);
}

void save(const QString& folder, const QString& name, const std::vector<Trace>& traces) {
    QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(0, 0, 0, 40), 1));
    p.setBrush(QColor(250, 250, 252));
    p.drawRoundedRect(QRectF(0.5, 0.5, kWidth - 1, kHeight - 1), 8, 8);
    const QColor a(38, 110, 200), b(220, 95, 40);
    if (traces.size() == 1) {
        drawTrace(p, traces[0], 14, kHeight - 28, a);
    } else if (traces.size() == 2) {
        drawTrace(p, traces[0], 10, kHeight / 2.0 - 18, a);
        drawTrace(p, traces[1], kHeight / 2.0 + 8, kHeight / 2.0 - 18, b);
    }
    p.end();
    image.save(QDir(folder).filePath(name + QStringLiteral(".png")));
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QString folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(".");
    QDir().mkpath(folder);

    save(folder, QStringLiteral("pulse"), {[](double t) { return square(t, 8, 0.25); }});
    save(folder, QStringLiteral("bounce"), {[](double t) { return square(t, 5, 0.5); },
                                           [](double t) { return 1.0 - square(t, 5, 0.5); }});
    save(folder, QStringLiteral("continuous"), {[](double t) { return 0.5 + 0.45 * std::sin(t * 2 * kPi * 14); }});
    save(folder, QStringLiteral("split"), {[](double t) { return square(t, 10, 0.3); },
                                          [](double t) { return 0.5 + 0.45 * std::sin(t * 2 * kPi * 3); }});
    save(folder, QStringLiteral("wave"), {[](double t) {
             const double envelope = 0.5 + 0.5 * std::sin(t * 2 * kPi * 1.5 - kPi / 2);
             return 0.5 + 0.48 * envelope * std::sin(t * 2 * kPi * 18);
         }});
    save(folder, QStringLiteral("waterfall"), {[](double t) { return 1.0 - std::fmod(t * 4, 1.0); }});
    save(folder, QStringLiteral("squeeze"), {[](double t) {
             // Pulses that come faster and faster, then start over.
             const double cycle = std::fmod(t * 2, 1.0);
             return square(cycle * cycle, 9, 0.4);
         }});
    save(folder, QStringLiteral("milk"), {[](double t) {
             const double group = std::fmod(t * 3, 1.0);
             return group < 0.6 ? square(group, 6, 0.5) * (0.4 + group) : 0.0;
         }});
    save(folder, QStringLiteral("throb"), {[](double t) {
             const double envelope = 0.35 + 0.65 * std::fabs(std::sin(t * kPi * 3));
             return envelope * square(t, 24, 0.5);
         }});
    save(folder, QStringLiteral("thrust"), {[](double t) { return std::fmod(t * 5, 1.0); }});
    save(folder, QStringLiteral("blank"), {});
    return 0;
}
