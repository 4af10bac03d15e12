// Icons from the Material Icons font: the name table, the glyph size, the colours.
#include "qfonticonengine.h"
#include "qmaterialicon.h"
#include "qmaterialicon_p.h"

#include <QtTest>
#include <QtWidgets>

#include <memory>

Q_DECLARE_METATYPE(QIcon::Mode)
Q_DECLARE_METATYPE(QIcon::State)
using Codes = QHash<QString, unsigned int>;

namespace {
const QColor activeButtonText(0x11, 0x22, 0x33);
const QColor disabledButtonText(0x44, 0x55, 0x66);
const QChar stop(0xe047); // a filled square

bool isBlank(const QPixmap &pixmap)
{
    QImage blank(pixmap.size(), QImage::Format_ARGB32);
    blank.fill(Qt::transparent);
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32) == blank;
}

QImage stopAtPixelSize(int side, int pixelSize)
{
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QFont font(QStringLiteral("Material Icons"));
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, QString(stop));
    painter.end();
    return pixmap.toImage();
}
} // namespace

class TestQMaterialIcon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QPalette palette = QApplication::palette();
        palette.setColor(QPalette::Active, QPalette::ButtonText, activeButtonText);
        palette.setColor(QPalette::Disabled, QPalette::ButtonText, disabledButtonText);
        QApplication::setPalette(palette);
    }

    void tableParser_data()
    {
        QTest::addColumn<QByteArray>("table");
        QTest::addColumn<Codes>("codes"); // every name the table gives, with its code
        QTest::addColumn<QStringList>("absent");
        QTest::newRow("blank lines and no final line end") << QByteArray("alarm e855\n\n  \n add   e145 ") << Codes{{"alarm", 0xe855}, {"add", 0xe145}} << QStringList{""};
        QTest::newRow("CRLF, tab is no separator") << QByteArray("alarm e855\r\nadd\te145\r\n") << Codes{{"alarm", 0xe855}} << QStringList{"add", "add\te145"};
        QTest::newRow("more than two fields skipped") << QByteArray("alarm e855 x\nadd e145\n") << Codes{{"add", 0xe145}} << QStringList{"alarm"};
        QTest::newRow("later line wins") << QByteArray("alarm e855\nalarm E856\n") << Codes{{"alarm", 0xe856}} << QStringList();
        QTest::newRow("prefix is no match") << QByteArray("alarm_add e856\nalarm e855\n") << Codes{{"alarm_add", 0xe856}, {"alarm", 0xe855}} << QStringList{"alar", "alarm_"};
        QTest::newRow("unreadable code reads 0") << QByteArray("alarm zz\n") << Codes{{"alarm", 0}} << QStringList();
    }

    void tableParser()
    {
        QFETCH(QByteArray, table);
        QFETCH(Codes, codes);
        QFETCH(QStringList, absent);
        unsigned int code = 1;
        for (auto it = codes.cbegin(); it != codes.cend(); ++it) {
            QVERIFY2(lookupCodepoint(table, it.key().toUtf8(), &code), qPrintable(it.key()));
            QCOMPARE(code, it.value());
        }
        for (const QString &name : absent)
            QVERIFY2(!lookupCodepoint(table, name.toUtf8(), &code), qPrintable(name));
    }

    void glyphPixelSize()
    {
        // The icon's own colour must win over the base colour; neighbouring sizes must differ, or this proves nothing.
        QMaterialIcon::instance()->setBase(Qt::green);
        for (const QPair<int, int> &sides : {qMakePair(24, 19), qMakePair(16, 13)}) {
            const QImage painted = QMaterialIcon::instance()->icon("stop", Qt::black).pixmap(sides.first).toImage();
            QCOMPARE(painted, stopAtPixelSize(sides.first, sides.second));
            QVERIFY(painted != stopAtPixelSize(sides.first, sides.second - 1) && painted != stopAtPixelSize(sides.first, sides.second + 1));
        }
    }

    void paintColour_data()
    {
        QTest::addColumn<QColor>("base");
        QTest::addColumn<QColor>("onColor");
        QTest::addColumn<QIcon::Mode>("mode");
        QTest::addColumn<QIcon::State>("state");
        QTest::addColumn<QColor>("expected");
        const QColor red(Qt::red), blue(Qt::blue);
        QTest::newRow("unticked: base colour") << red << blue << QIcon::Normal << QIcon::Off << red;
        QTest::newRow("ticked: on colour") << red << blue << QIcon::Active << QIcon::On << blue;
        QTest::newRow("ticked, no on colour") << red << QColor() << QIcon::Normal << QIcon::On << red;
        QTest::newRow("disabled, even ticked") << red << blue << QIcon::Disabled << QIcon::On << disabledButtonText;
        QTest::newRow("selected") << red << blue << QIcon::Selected << QIcon::On << activeButtonText;
        QTest::newRow("no base colour") << QColor() << QColor() << QIcon::Normal << QIcon::Off << activeButtonText;
    }

    void paintColour()
    {
        QFETCH(QColor, base);
        QFETCH(QColor, onColor);
        QFETCH(QIcon::Mode, mode);
        QFETCH(QIcon::State, state);
        QFETCH(QColor, expected);
        QMaterialIcon *icons = QMaterialIcon::instance();
        icons->setBase(base);
        icons->setOnColor(onColor);
        const QIcon icon = icons->icon("stop");
        // Changed before painting: an icon keeps the colours of its creation.
        icons->setBase(Qt::green);
        icons->setOnColor(QColor());
        QCOMPARE(icon.pixmap(48, mode, state).toImage().pixel(24, 24), expected.rgba());
    }

    void unknownNameAndCloneAreBlank()
    {
        bool ok = false;
        QCOMPARE(int(QMaterialIcon::instance()->codepoint("done", &ok).unicode()), 0xe876);
        QVERIFY(ok);
        QCOMPARE(int(QMaterialIcon::instance()->codepoint("no_such_icon", &ok).unicode()), 0);
        QVERIFY(!ok);
        QVERIFY(isBlank(QMaterialIcon::instance()->icon("no_such_icon", Qt::red).pixmap(32)));
        QFontIconEngine engine("Material Icons", stop, Qt::red, Qt::blue);
        const std::unique_ptr<QIconEngine> copy(engine.clone());
        QVERIFY(!isBlank(engine.pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off)));
        QVERIFY(isBlank(copy->pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off)));
    }
};

QTEST_MAIN(TestQMaterialIcon)
#include "tst_qmaterialicon.moc"
