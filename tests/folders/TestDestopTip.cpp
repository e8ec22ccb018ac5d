#include "DestopTip.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QLabel>
#include <QPointer>
#include <QScreen>

class TestDestopTip : public QObject
{
    Q_OBJECT

    static QRect area() { return QGuiApplication::primaryScreen()->availableGeometry(); }

private slots:
    // The notice sits inside the available area at its lower right corner, frameless, at its size.
    void placeAndLook()
    {
        auto* tip = new DestopTip;
        QString text = QStringLiteral("收到%1份传真").arg(3);
        tip->showTip(text);
        tip->show();
        QCOMPARE(tip->text(), QStringLiteral("收到3份传真"));
        QCOMPARE(TestSupport::find<QLabel>(tip, QStringLiteral("label"))->text(), QStringLiteral("收到3份传真"));
        QVERIFY(tip->windowFlags() & Qt::FramelessWindowHint);
        QCOMPARE(tip->size(), QSize(205, 121));
        QCOMPARE(tip->frameGeometry().bottomRight(), area().bottomRight());
        QVERIFY(area().contains(tip->frameGeometry()));
        QVERIFY(tip->testAttribute(Qt::WA_DeleteOnClose));
        delete tip;
    }

    // Two notices in short succession each stand about 5 s, go 1 s later and free themselves.
    // (Qt's coarse timers may fire up to 5 % early.)
    void twoNoticesCloseAndFreeThemselves()
    {
        QElapsedTimer clock;
        clock.start();
        QPointer<DestopTip> first = new DestopTip;
        QString one = QStringLiteral("收到1份传真");
        first->showTip(one);
        first->show();
        QTest::qWait(1500);
        QPointer<DestopTip> second = new DestopTip;
        QString two = QStringLiteral("收到2份传真");
        second->showTip(two);
        second->show();
        QCOMPARE(second->pos(), first->pos());

        QTest::qWait(4500 - int(clock.elapsed()));
        QVERIFY(first && first->isVisible());
        QVERIFY(second && second->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(first.isNull(), 3000);
        const qint64 firstGone = clock.elapsed();
        QVERIFY2(firstGone >= 5700, qPrintable(QString::number(firstGone)));
        QVERIFY(second); // its own timers, 1.5 s behind
        QCOMPARE(second->text(), two);
        QTRY_VERIFY_WITH_TIMEOUT(second.isNull(), 3000);
        QVERIFY2(clock.elapsed() >= 7200, qPrintable(QString::number(clock.elapsed())));
    }

    // A slide starts at the bottom of the desktop and climbs to the same place before it stays.
    void slideClimbsToItsPlace()
    {
        QPointer<DestopTip> tip = new DestopTip;
        QString text = QStringLiteral("收到1份传真");
        tip->slideTip(text);
        tip->show();
        QCOMPARE(tip->pos().y(), area().y() + area().height());
        QTRY_COMPARE_WITH_TIMEOUT(tip->frameGeometry().bottomRight(), area().bottomRight(), 3000);
        QTest::qWait(200);
        QCOMPARE(tip->frameGeometry().bottomRight(), area().bottomRight()); // it stops there
        QVERIFY(tip->isVisible());
        tip->close();
        QTRY_VERIFY(tip.isNull());
    }
};

VELKOR_TEST_MAIN(TestDestopTip)
#include "TestDestopTip.moc"
