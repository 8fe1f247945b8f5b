#include "measure/io/visa/visaresource.h"

#include <QTest>

using zelt::measure::io::visa::VisaResource;
using Kind = VisaResource::Kind;

class TestVisaResource : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // canonical() is made of the parsed fields: equal texts mean equal fields.
    void good_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("canonical");
        auto const row = [](char const* name, char const* text, char const* canonical) {
            QTest::newRow(name) << QString(text) << QString(canonical);
        };
        row("socket", "TCPIP0::192.168.1.5::5025::SOCKET", "TCPIP0::192.168.1.5::5025::SOCKET");
        row("socket without board, lower case", "tcpip::localhost::5025::socket",
            "TCPIP0::localhost::5025::SOCKET");
        row("board 3, mixed case, blanks", "  TcpIp3::Bench-PSU.lab.local::1::Socket \n",
            "TCPIP3::Bench-PSU.lab.local::1::SOCKET");
        row("socket IPv6", "TCPIP0::[fe80::1]::5025::SOCKET", "TCPIP0::[fe80::1]::5025::SOCKET");
        row("instr", "TCPIP0::192.168.1.5::inst0::INSTR", "TCPIP0::192.168.1.5::inst0::INSTR");
        row("instr host only", "TCPIP::psu.local", "TCPIP0::psu.local::inst0::INSTR");
        row("instr device without suffix", "TCPIP::psu::hislip0", "TCPIP0::psu::hislip0::INSTR");
        row("serial device path keeps case", "asrl/dev/serial/by-id/usb-FTDI_A1::instr",
            "ASRL/dev/serial/by-id/usb-FTDI_A1::INSTR");
        row("serial number without suffix", "asrl12", "ASRL12::INSTR");
        row("usb hex ids", "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR",
            "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR");
        row("usb decimal ids, no interface, no suffix", "usb1::6833::1230::SN42",
            "USB1::0x1AB1::0x04CE::SN42::INSTR");
        row("usb lower-case short hex", "USB::0x0aad::0xff::x::INSTR", "USB0::0x0AAD::0x00FF::x::INSTR");
        row("gpib board, no suffix", "gpib2::30", "GPIB2::30::INSTR");
    }

    void good()
    {
        QFETCH(QString, text);
        QFETCH(QString, canonical);
        VisaResource const r = VisaResource::parse(text);
        QVERIFY2(r.isValid() && r.error.isEmpty(), qPrintable(r.error));
        QCOMPARE(r.canonical(), canonical);
        // The canonical text means the same resource.
        QCOMPARE(VisaResource::parse(canonical).canonical(), canonical);
    }

    void bad_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("error");
        auto const row = [](char const* text, char const* error) {
            QTest::addRow("'%s'", text) << QString(text) << QString(error);
        };

        row("   ", "empty resource string");
        row("FOO::bar::INSTR", "unknown resource type 'FOO'");
        row("TCPIPX::host::INSTR", "unknown resource type 'TCPIPX'");
        row("TCPIP123456::host::INSTR", "invalid board number '123456'");
        row("::host::INSTR", "missing resource type");
        row("TCPIP0::host::SOCKET", "missing port");
        row("TCPIP0::SOCKET", "missing host");
        row("TCPIP0::host::65536::SOCKET", "invalid port '65536'");
        row("TCPIP0::host::http::SOCKET", "invalid port 'http'");
        row("TCPIP0::host::5025", "needs the suffix ::SOCKET");
        row("TCPIP0::host::5025::extra::SOCKET", "unexpected field 'extra'");
        row("TCPIP0::::5025::SOCKET", "empty field after 'TCPIP0'");
        row("TCPIP0::192.168.1.300::5025::SOCKET", "invalid IPv4 address '192.168.1.300'");
        row("TCPIP0::10.1::5025::SOCKET", "invalid IPv4 address '10.1'");
        row("TCPIP0::[fe80::zz]::5025::SOCKET", "invalid IPv6 address '[fe80::zz]'");
        row("TCPIP0::[fe80::1::5025::SOCKET", "invalid IPv6 address");
        row("TCPIP0::[10.0.0.1]::5025::SOCKET", "invalid IPv6 address");
        row("TCPIP0::host:5025::SOCKET", "invalid host name 'host:5025'");
        row("ASRL3::SOCKET", "unsupported resource class 'SOCKET'");
        row("ASRL::INSTR", "missing serial port");
        row("USB0::INSTR", "missing USB vendor id");
        row("USB0::0x1AB1::0x04CE::INSTR", "missing USB serial number");
        row("USB0::0x12345::0x04CE::SN::INSTR", "invalid USB vendor id '0x12345'");
        row("USB0::1::2::SN::x::INSTR", "invalid USB interface number 'x'");
        row("GPIB0::INSTR", "missing GPIB address");
        row("GPIB0::31::INSTR", "invalid GPIB address '31'");
    }

    void bad()
    {
        QFETCH(QString, text);
        QFETCH(QString, error);

        VisaResource const r = VisaResource::parse(text);
        QCOMPARE(r.kind, Kind::Invalid);
        QVERIFY(!r.isValid());
        QVERIFY2(r.error.contains(error), qPrintable(r.error));
        QVERIFY(r.canonical().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestVisaResource)
#include "tst_visaresource.moc"
