#include "util/code.h"

#include <QTest>

using zelt::util::StringCode;

class TestCode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frame_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("frame");
        QTest::newRow("query") << "MEAS:ALL?" << QByteArray("MEAS:ALL?\n");
        QTest::newRow("trailing line end") << "*IDN?\r\n" << QByteArray("*IDN?\n");
        QTest::newRow("trailing tabs and blanks") << "SYST:REM \t " << QByteArray("SYST:REM\n");
        QTest::newRow("leading blank kept") << " *CLS" << QByteArray(" *CLS\n");
        QTest::newRow("UTF-8") << QString::fromUtf8("SYST:NAME Ω") << QByteArray("SYST:NAME \xCE\xA9\n");
        QTest::newRow("empty") << "" << QByteArray("\n");
    }

    void frame()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, frame);
        StringCode const code(text);
        QCOMPARE(code.data(), text); // the text itself is kept as given
        QCOMPARE(code.frame(), frame);
    }
};

QTEST_GUILESS_MAIN(TestCode)
#include "tst_code.moc"
