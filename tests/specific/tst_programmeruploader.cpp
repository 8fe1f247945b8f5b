#include "specific/programmeruploader.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace zelt::specific::pxn3000s::programmer;

class TestProgrammerUploader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void run_data()
    {
        QTest::addColumn<bool>("delayer");
        QTest::addColumn<int>("rows");
        QTest::addColumn<bool>("stopWhenFinished");
        QTest::newRow("list") << false << 3 << false;
        QTest::newRow("delayer, stops itself") << true << 2 << true;
        QTest::newRow("no rows") << false << 0 << false;
    }

    // The dialog's turn-taking: start, one next() per row read back, one more for finished,
    // then stop; calls out of turn change nothing.
    void run()
    {
        QFETCH(bool, delayer);
        QFETCH(int, rows);
        QFETCH(bool, stopWhenFinished);
        QList<ListData> list;
        QList<DelayerData> steps;
        for (int i = 0; i < rows; ++i) {
            list.append(ListData(i, i / 10.0, i + 1));
            steps.append(DelayerData(i % 2 == 0, i + 1));
        }
        std::unique_ptr<ProgrammerUploader> up(
            delayer ? static_cast<ProgrammerUploader*>(new DelayerUploader(steps)) : new ListUploader(list));
        up->setStopWhenFinished(stopWhenFinished);
        QSignalSpy started(up.get(), &ProgrammerUploader::started);
        QSignalSpy finished(up.get(), &ProgrammerUploader::finished);
        QSignalSpy stoped(up.get(), &ProgrammerUploader::stoped);
        QSignalSpy error(up.get(), &ProgrammerUploader::error);
        QList<int> indexes;
        connect(up.get(), &ProgrammerUploader::nextData, this, [&](int i, ProgrammerData const& data) {
            indexes.append(i);
            if (delayer)
                QCOMPARE(dynamic_cast<DelayerData const&>(data), steps.at(i));
            else
                QCOMPARE(dynamic_cast<ListData const&>(data), list.at(i));
        });

        up->next(); // before start
        up->start();
        QCOMPARE(started.size(), 1);
        QCOMPARE(started.first().first().toInt(), rows);
        for (int i = 0; i < rows; ++i)
            up->next();
        QCOMPARE(finished.size(), 0);
        up->next();
        QCOMPARE(finished.size(), 1);
        QCOMPARE(up->active(), !stopWhenFinished);
        up->next();
        up->stop();
        up->stop();
        QCOMPARE(indexes, QList<int>({0, 1, 2}).mid(0, rows));
        QCOMPARE(finished.size(), 1);
        QCOMPARE(stoped.size(), 1);
        QCOMPARE(error.size(), rows ? 0 : 1); // nothing to upload is an error
    }
};

QTEST_GUILESS_MAIN(TestProgrammerUploader)
#include "tst_programmeruploader.moc"
