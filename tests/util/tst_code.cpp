#include "util/code.h"
#include "util/word.h"

#include <QTest>

using zelt::util::StringCode;
using zelt::util::Word;

class TestCode : public QObject
{
    Q_OBJECT

private slots:
    void frame_data();
    void frame();
    void wordKeepsItsCode();
};

void TestCode::frame_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("frame");

    QTest::newRow("query") << "MEAS:ALL?" << QByteArray("MEAS:ALL?\n");
    QTest::newRow("setting") << "SOUR:VOLT 12.500" << QByteArray("SOUR:VOLT 12.500\n");
    QTest::newRow("template filled with nothing") << "OUTP:PROT:CLE " << QByteArray("OUTP:PROT:CLE\n");
    QTest::newRow("trailing line end") << "*IDN?\r\n" << QByteArray("*IDN?\n");
    QTest::newRow("trailing tabs and blanks") << "SYST:REM \t " << QByteArray("SYST:REM\n");
    QTest::newRow("leading blank kept") << " *CLS" << QByteArray(" *CLS\n");
    QTest::newRow("UTF-8") << QString::fromUtf8("SYST:NAME Ω") << QByteArray("SYST:NAME \xCE\xA9\n");
    QTest::newRow("empty") << "" << QByteArray("\n");
}

void TestCode::frame()
{
    QFETCH(QString, text);
    QFETCH(QByteArray, frame);
    StringCode const code(text);
    QCOMPARE(code.data(), text); // the text itself is kept as given
    QCOMPARE(code.frame(), frame);
}

void TestCode::wordKeepsItsCode()
{
    auto const code = QSharedPointer<StringCode>::create(QStringLiteral("SOUR:VOLT?"));
    Word const query(code, 5000);
    Word const setting(code, 0);
    QCOMPARE(query.code().get(), code.get());
    QCOMPARE(query.time(), 5000);
    QVERIFY(query.needResponse());
    QVERIFY(!setting.needResponse());
    auto const text = query.code().dynamicCast<StringCode>();
    QVERIFY(text);
    QCOMPARE(text->data(), QStringLiteral("SOUR:VOLT?"));
}

QTEST_GUILESS_MAIN(TestCode)
#include "tst_code.moc"
