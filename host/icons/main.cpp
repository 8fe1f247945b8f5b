// zelt-iconpainter OUTDIR: paints the host's pictures (toolbar icons, wave
// shapes, the instrument) as PNG files. Shapes only, no text, so no fonts or
// display are needed at build time. The wave shapes come from the programmer's
// own generators, so that each shows what its template gives.

#include "specific/wavegenerator.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QtMath>

#include <cstdio>
#include <functional>

namespace {

// One palette for the whole set: a slate outline and a few signal colours.
QColor const kInk(0x37, 0x47, 0x4f);
QColor const kPaper(0xfa, 0xfb, 0xfc);
QColor const kGreen(0x2e, 0x9d, 0x4f);
QColor const kAmber(0xf0, 0xa2, 0x1c);
QColor const kRed(0xd6, 0x3b, 0x34);
QColor const kBlue(0x2f, 0x74, 0xc0);
QColor const kWave(0x1f, 0x6f, 0xd1);

int const kIcon = 48;

using Painter = std::function<void(QPainter&)>;

QPen ink(qreal width = 3, QColor const& color = kInk)
{
    return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

bool paint(QDir const& dir, QString const& name, QSize const& size, Painter const& body)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        body(p);
    }
    bool const ok = image.save(dir.filePath(name + QStringLiteral(".png")));
    if (!ok)
        std::fprintf(stderr, "cannot write %s\n", qPrintable(dir.filePath(name)));
    return ok;
}

void disc(QPainter& p, QColor const& color)
{
    p.setPen(QPen(color.darker(125), 2));
    p.setBrush(color);
    p.drawEllipse(QRectF(4, 4, 40, 40));
}

// A sheet of paper with a folded corner.
void sheet(QPainter& p)
{
    QPainterPath path;
    path.moveTo(10, 5);
    path.lineTo(30, 5);
    path.lineTo(39, 14);
    path.lineTo(39, 43);
    path.lineTo(10, 43);
    path.closeSubpath();
    p.setPen(ink(2.5));
    p.setBrush(kPaper);
    p.drawPath(path);
    p.drawPolyline(QPolygonF({{30, 5}, {30, 14}, {39, 14}}));
}

void trash(QPainter& p, QColor const& color)
{
    p.setPen(ink(2.5));
    p.setBrush(kPaper);
    QPainterPath can;
    can.moveTo(12, 14);
    can.lineTo(36, 14);
    can.lineTo(33, 43);
    can.lineTo(15, 43);
    can.closeSubpath();
    p.drawPath(can);
    p.drawLine(QPointF(8, 12), QPointF(40, 12));
    p.drawRoundedRect(QRectF(19, 6, 10, 6), 2, 2);
    p.setPen(ink(2.5, color));
    for (qreal x : {19.0, 24.0, 29.0})
        p.drawLine(QPointF(x, 19), QPointF(x, 38));
}

// Rows of a table, as in the quick-setting and sequence tables.
void table(QPainter& p)
{
    p.setPen(ink(2.5));
    p.setBrush(kPaper);
    p.drawRoundedRect(QRectF(5, 7, 32, 34), 3, 3);
    for (qreal y : {16.0, 24.0, 32.0})
        p.drawLine(QPointF(5, y), QPointF(37, y));
    p.drawLine(QPointF(16, 7), QPointF(16, 41));
}

void badge(QPainter& p, QPointF const& centre, QColor const& color, bool plus)
{
    p.setPen(QPen(Qt::white, 2));
    p.setBrush(color);
    p.drawEllipse(centre, 10, 10);
    p.setPen(ink(3, Qt::white));
    p.drawLine(centre + QPointF(-5, 0), centre + QPointF(5, 0));
    if (plus)
        p.drawLine(centre + QPointF(0, -5), centre + QPointF(0, 5));
}

namespace programmer = zelt::specific::pxn3000s::programmer;

// A wave template: a tile with axes and the rows of the template, drawn as the
// programmer plots them, each value held for its row's time.
void wave(QPainter& p, programmer::ListTemplateParam const& param)
{
    p.setPen(QPen(kInk.lighter(220), 1.5));
    p.setBrush(kPaper);
    p.drawRoundedRect(QRectF(2, 2, 44, 44), 6, 6);
    p.setPen(ink(1.5, kInk.lighter(160)));
    p.drawLine(QPointF(7, 40), QPointF(42, 40));
    p.drawLine(QPointF(7, 7), QPointF(7, 40));
    QList<QList<double>> rows;
    for (programmer::ListData const& r : programmer::make_list_wave(param))
        rows.append({r.voltage, r.time});
    QList<double> x, y;
    programmer::make_plot_values(rows, x, y, Qt::AlignRight);
    double const span = param.voltageMax - param.voltageMin;
    if (x.isEmpty() || x.last() <= 0.0 || span == 0.0)
        return;
    QPainterPath path;
    qreal const left = 9, right = 41, top = 9, bottom = 38;
    for (qsizetype i = 0; i < x.size(); ++i) {
        QPointF const pt(left + x.at(i) / x.last() * (right - left),
                         bottom - (y.at(i) - param.voltageMin) / span * (bottom - top));
        if (i == 0)
            path.moveTo(pt);
        else
            path.lineTo(pt);
    }
    QPen pen = ink(3, kWave);
    pen.setJoinStyle(Qt::MiterJoin);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
}

// A template of the type at its defaults, with counts that a tile can show.
programmer::ListTemplateParam waveTemplate(int type)
{
    programmer::ListTemplateParam param;
    programmer::resetListTemplateParam(param, static_cast<unsigned char>(type));
    param.pulseCount = 2;
    param.interval = type >= 6 ? 0.1 : param.interval;
    param.expGroups = 12;
    return param;
}

// Seven-segment digit, segments a..g, for the instrument's front panel.
void digit(QPainter& p, QPointF const& at, qreal h, int value, QColor const& lit)
{
    static int const kSegments[10] = {0x3f, 0x06, 0x5b, 0x4f, 0x66, 0x6d, 0x7d, 0x07, 0x7f, 0x6f};
    qreal const w = h * 0.5, t = h * 0.12;
    auto segment = [&](QPointF a, QPointF b) {
        p.setPen(QPen(lit, t, Qt::SolidLine, Qt::FlatCap));
        p.drawLine(a, b);
    };
    QPointF const tl = at, tr = at + QPointF(w, 0), ml = at + QPointF(0, h / 2), mr = at + QPointF(w, h / 2),
                  bl = at + QPointF(0, h), br = at + QPointF(w, h);
    QPointF const dx(t * 0.6, 0), dy(0, t * 0.6);
    int const bits = kSegments[value % 10];
    if (bits & 0x01)
        segment(tl + dx, tr - dx);
    if (bits & 0x02)
        segment(tr + dy, mr - dy);
    if (bits & 0x04)
        segment(mr + dy, br - dy);
    if (bits & 0x08)
        segment(bl + dx, br - dx);
    if (bits & 0x10)
        segment(ml + dy, bl - dy);
    if (bits & 0x20)
        segment(tl + dy, ml - dy);
    if (bits & 0x40)
        segment(ml + dx, mr - dx);
}

void reading(QPainter& p, QPointF at, qreal h, QString const& digits, int point, QColor const& lit)
{
    qreal const pitch = h * 0.78;
    for (int i = 0; i < digits.size(); ++i) {
        digit(p, at + QPointF(i * pitch, 0), h, digits.at(i).digitValue(), lit);
        if (i == point) {
            p.setPen(Qt::NoPen);
            p.setBrush(lit);
            p.drawEllipse(at + QPointF(i * pitch + h * 0.62, h * 0.95), h * 0.07, h * 0.07);
        }
    }
}

void knob(QPainter& p, QPointF const& c, qreal r)
{
    QRadialGradient g(c - QPointF(r / 3, r / 3), r * 1.4);
    g.setColorAt(0, QColor(0x9a, 0xa3, 0xab));
    g.setColorAt(1, QColor(0x3c, 0x43, 0x49));
    p.setPen(QPen(QColor(0x22, 0x26, 0x2a), 1.5));
    p.setBrush(g);
    p.drawEllipse(c, r, r);
    p.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(c, c + QPointF(r * 0.55, -r * 0.55));
}

void terminal(QPainter& p, QPointF const& c, QColor const& color)
{
    p.setPen(QPen(color.darker(160), 1.5));
    p.setBrush(color);
    p.drawEllipse(c, 9, 9);
    p.setBrush(QColor(0xd8, 0xc0, 0x70));
    p.drawEllipse(c, 3.5, 3.5);
}

// The front of a KVR9000 unit: a 2U case, display, keys, knobs and terminals.
void instrument(QPainter& p)
{
    QRectF const body(8, 40, 304, 120);
    QLinearGradient metal(body.topLeft(), body.bottomLeft());
    metal.setColorAt(0, QColor(0xe4, 0xe7, 0xea));
    metal.setColorAt(1, QColor(0xb9, 0xbf, 0xc5));
    p.setPen(QPen(QColor(0x5c, 0x64, 0x6b), 2));
    p.setBrush(metal);
    p.drawRoundedRect(body, 8, 8);
    // Rack ears and the handle line.
    p.setBrush(QColor(0x8d, 0x95, 0x9c));
    p.drawRoundedRect(QRectF(8, 40, 14, 120), 4, 4);
    p.drawRoundedRect(QRectF(298, 40, 14, 120), 4, 4);

    QRectF const glass(34, 54, 150, 92);
    p.setPen(QPen(QColor(0x2b, 0x31, 0x38), 3));
    p.setBrush(QColor(0x0e, 0x13, 0x18));
    p.drawRoundedRect(glass, 5, 5);
    QColor const amber(0xff, 0xc8, 0x3d);
    reading(p, QPointF(46, 64), 26, QStringLiteral("2400"), 1, amber);
    reading(p, QPointF(46, 106), 26, QStringLiteral("0512"), 1, amber);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x6c, 0xd4, 0xff));
    p.drawRoundedRect(QRectF(140, 66, 32, 8), 2, 2);
    p.setBrush(QColor(0x2b, 0x3a, 0x46));
    p.drawRoundedRect(QRectF(140, 80, 32, 8), 2, 2);
    p.drawRoundedRect(QRectF(140, 94, 32, 8), 2, 2);

    // Keys.
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 2; ++col) {
            p.setPen(QPen(QColor(0x4a, 0x52, 0x59), 1.2));
            p.setBrush(row == 2 && col == 1 ? kGreen : QColor(0x52, 0x5b, 0x63));
            p.drawRoundedRect(QRectF(196 + col * 24, 58 + row * 22, 18, 14), 3, 3);
        }
    }
    knob(p, QPointF(258, 72), 14);
    knob(p, QPointF(258, 114), 14);
    terminal(p, QPointF(220, 140), kRed);
    terminal(p, QPointF(246, 140), QColor(0x26, 0x2a, 0x2e));
    terminal(p, QPointF(282, 140), kGreen);
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTDIR\n", argv[0]);
        return 2;
    }
    QDir dir(QString::fromLocal8Bit(argv[1]));
    if (!dir.mkpath(QStringLiteral("."))) {
        std::fprintf(stderr, "cannot make %s\n", argv[1]);
        return 1;
    }
    QSize const icon(kIcon, kIcon);
    bool ok = true;
    auto add = [&](QString const& name, Painter const& body) {
        ok = paint(dir, name, icon, body) && ok;
    };

    add("start", [](QPainter& p) {
        disc(p, kGreen);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawPolygon(QPolygonF({{19, 14}, {35, 24}, {19, 34}}));
    });
    add("pause", [](QPainter& p) {
        disc(p, kAmber);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawRoundedRect(QRectF(16, 14, 6, 20), 1.5, 1.5);
        p.drawRoundedRect(QRectF(26, 14, 6, 20), 1.5, 1.5);
    });
    add("record", [](QPainter& p) {
        p.setPen(ink(3, kRed));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(QRectF(5, 5, 38, 38));
        p.setPen(Qt::NoPen);
        p.setBrush(kRed);
        p.drawEllipse(QRectF(14, 14, 20, 20));
    });
    add("export", [](QPainter& p) {
        sheet(p);
        p.setPen(ink(3.5, kBlue));
        p.drawLine(QPointF(18, 30), QPointF(42, 30));
        p.drawPolyline(QPolygonF({{35, 23}, {42, 30}, {35, 37}}));
    });
    add("open", [](QPainter& p) {
        p.setPen(ink(2.5));
        p.setBrush(kAmber.lighter(130));
        QPainterPath back;
        back.moveTo(5, 40);
        back.lineTo(5, 10);
        back.lineTo(17, 10);
        back.lineTo(21, 14);
        back.lineTo(38, 14);
        back.lineTo(38, 20);
        p.drawPath(back);
        p.setBrush(kAmber);
        p.drawPolygon(QPolygonF({{5, 40}, {12, 20}, {44, 20}, {37, 40}}));
    });
    add("save", [](QPainter& p) {
        p.setPen(ink(2.5));
        p.setBrush(kBlue);
        QPainterPath disk;
        disk.moveTo(6, 6);
        disk.lineTo(36, 6);
        disk.lineTo(42, 12);
        disk.lineTo(42, 42);
        disk.lineTo(6, 42);
        disk.closeSubpath();
        p.drawPath(disk);
        p.setBrush(kPaper);
        p.drawRect(QRectF(13, 6, 20, 12));
        p.drawRoundedRect(QRectF(12, 26, 24, 16), 2, 2);
        p.setBrush(kInk);
        p.drawRect(QRectF(26, 8, 4, 8));
    });
    add("delete", [](QPainter& p) { trash(p, kRed); });
    add("deleteAll", [](QPainter& p) {
        table(p);
        p.setPen(QPen(Qt::white, 2));
        p.setBrush(kRed);
        p.drawEllipse(QPointF(35, 35), 11, 11);
        p.setPen(ink(3, Qt::white));
        p.drawLine(QPointF(30, 30), QPointF(40, 40));
        p.drawLine(QPointF(40, 30), QPointF(30, 40));
    });
    add("append3", [](QPainter& p) {
        table(p);
        badge(p, QPointF(35, 36), kGreen, true);
    });
    add("insert32", [](QPainter& p) {
        table(p);
        p.setPen(ink(3.5, kGreen));
        p.drawLine(QPointF(22, 24), QPointF(44, 24));
        p.drawPolyline(QPolygonF({{29, 17}, {22, 24}, {29, 31}}));
    });
    add("history", [](QPainter& p) {
        p.setPen(ink(3));
        p.setBrush(kPaper);
        p.drawEllipse(QRectF(7, 7, 34, 34));
        p.drawLine(QPointF(24, 24), QPointF(24, 13));
        p.drawLine(QPointF(24, 24), QPointF(32, 28));
        // A turning arrow around the clock, its head at the end of the arc.
        qreal const r = 21, end = qDegreesToRadians(225.0);
        p.setPen(ink(3, kBlue));
        p.setBrush(Qt::NoBrush);
        p.drawArc(QRectF(24 - r, 24 - r, 2 * r, 2 * r), 95 * 16, 125 * 16);
        QPointF const tip(24 + r * qCos(end), 24 - r * qSin(end));
        QPointF const along(-qSin(end), -qCos(end)), across(along.y(), -along.x());
        p.setPen(Qt::NoPen);
        p.setBrush(kBlue);
        p.drawPolygon(
            QPolygonF({tip + 5 * along, tip - 3 * along + 5 * across, tip - 3 * along - 5 * across}));
    });
    add("options", [](QPainter& p) {
        QPainterPath gear;
        int const teeth = 8;
        for (int i = 0; i < teeth * 2; ++i) {
            qreal const a0 = (i - 0.5) * M_PI / teeth, a1 = (i + 0.5) * M_PI / teeth;
            qreal const r = i % 2 ? 15.0 : 20.0;
            QPointF const p0(24 + r * qCos(a0), 24 + r * qSin(a0)), p1(24 + r * qCos(a1), 24 + r * qSin(a1));
            if (i == 0)
                gear.moveTo(p0);
            else
                gear.lineTo(p0);
            gear.lineTo(p1);
        }
        gear.closeSubpath();
        gear.addEllipse(QPointF(24, 24), 6, 6);
        gear.setFillRule(Qt::OddEvenFill);
        p.setPen(ink(2));
        p.setBrush(kInk.lighter(170));
        p.drawPath(gear);
    });
    add("help", [](QPainter& p) {
        disc(p, kBlue);
        p.setPen(ink(4.5, Qt::white));
        p.setBrush(Qt::NoBrush);
        QPainterPath mark;
        mark.moveTo(17, 19);
        mark.cubicTo(17, 10, 31, 10, 31, 18);
        mark.cubicTo(31, 23, 24, 23, 24, 29);
        p.drawPath(mark);
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawEllipse(QPointF(24, 36), 3, 3);
    });
    add("programming", [](QPainter& p) {
        p.setPen(ink(2.5));
        p.setBrush(kPaper);
        p.drawRoundedRect(QRectF(7, 8, 34, 36), 3, 3);
        p.setBrush(kInk);
        p.drawRoundedRect(QRectF(17, 4, 14, 8), 2, 2);
        p.setPen(ink(3, kWave));
        p.setBrush(Qt::NoBrush);
        p.drawPolyline(
            QPolygonF({{12, 38}, {12, 32}, {19, 32}, {19, 25}, {26, 25}, {26, 19}, {33, 19}, {33, 38}}));
    });

    char const* const waves[]
        = {"sine2", "pulse2", "ramp2", "stairup2", "stairdown2", "stairupdown2", "exprise2", "expfall2"};
    for (int type = 0; type < 8; ++type)
        add(QString::fromLatin1(waves[type]), [type](QPainter& p) { wave(p, waveTemplate(type)); });

    ok = paint(dir, QStringLiteral("KVR9000"), QSize(320, 200), instrument) && ok;
    // The application's own icon: the instrument on a square tile.
    ok = paint(dir, QStringLiteral("zelt-host"), QSize(256, 256),
               [](QPainter& p) {
                   p.setPen(Qt::NoPen);
                   p.setBrush(QColor(0x26, 0x32, 0x38));
                   p.drawRoundedRect(QRectF(8, 8, 240, 240), 40, 40);
                   p.translate(8, 53);
                   p.scale(0.75, 0.75);
                   instrument(p);
               })
        && ok;
    return ok ? 0 : 1;
}
