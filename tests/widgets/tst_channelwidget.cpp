// The channel display panel: its active and inactive looks, the enabled and disabled looks of
// its rows, and how the meta-type system makes one.

#include "widgets/channelwidget.h"

#include <QLabel>
#include <QtTest>

namespace {

QString sheet(char const* foreground, char const* background)
{
    return QStringLiteral("color:%1;background-color:%2")
        .arg(QLatin1String(foreground), QLatin1String(background));
}

QLabel* labelWithText(QWidget& parent, QString const& text)
{
    for (QLabel* label : parent.findChildren<QLabel*>()) {
        if (label->text() == text)
            return label;
    }
    return nullptr;
}

} // namespace

class TestChannelWidget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void looks_data()
    {
        QTest::addColumn<bool>("active");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("ownDisableColor"); // setDisableColor with red on black
        QTest::addColumn<QString>("panel"); // frame, header and footer
        QTest::addColumn<QString>("rows"); // numbers and units
        QString const inactive = sheet("#ffffff", "#404043");
        QString const yellow = sheet("#555555", "#ffe81e");
        QString const lit = sheet("#ffffff", "#353538");
        QTest::newRow("fresh") << false << true << false << inactive << lit;
        QTest::newRow("active") << true << true << false << yellow << lit;
        QTest::newRow("own disabled colour")
            << true << false << true << yellow << sheet("#ff0000", "#000000");
    }

    void looks()
    {
        QFETCH(bool, active);
        QFETCH(bool, enabled);
        QFETCH(bool, ownDisableColor);
        QFETCH(QString, panel);
        QFETCH(QString, rows);
        ChannelWidget widget;
        widget.setTopLeft(QStringLiteral("CH1")).setBottomRight(QStringLiteral("CV"));
        widget.setV(QStringLiteral("12.000"), QStringLiteral("V"));
        if (ownDisableColor)
            widget.setDisableColor(ColorBox(Qt::red, Qt::black));
        widget.setActive(active).setEnable(enabled);

        QLabel* header = labelWithText(widget, QStringLiteral("CH1"));
        QVERIFY(header);
        QCOMPARE(widget.styleSheet(), panel);
        QCOMPARE(header->parentWidget()->styleSheet(), panel);
        for (int row = 0; row < 3; ++row) {
            for (QLabel* label : widget.valueWidget(row)->findChildren<QLabel*>())
                QCOMPARE(label->styleSheet(), rows);
        }

        // The sheets paint: the header's background as the look says.
        widget.resize(220, 200);
        QImage const picture = widget.grab().toImage();
        QColor const background(panel.section(QLatin1Char(':'), 2));
        QCOMPARE(picture.pixelColor(header->mapTo(&widget, QPoint(header->width() - 3, 3))).name(),
                 background.name());
    }

    void madeByMetaType()
    {
        QMetaType const type = QMetaType::fromName("ChannelWidget");
        QVERIFY(type.isValid());
        void* made = type.create();
        QVERIFY(made);
        QVERIFY(!static_cast<ChannelWidget*>(made)->isActive());
        type.destroy(made);
    }
};

QTEST_MAIN(TestChannelWidget)
#include "tst_channelwidget.moc"
