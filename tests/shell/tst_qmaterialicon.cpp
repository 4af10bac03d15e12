#include "qfonticonengine.h"
#include "qmaterialicon.h"
#include "qmaterialicon_p.h"
#include "testsupport.h"

#include <QApplication>
#include <QBuffer>
#include <QFontDatabase>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QtTest>

#include <memory>

Q_DECLARE_METATYPE(QIcon::Mode)
Q_DECLARE_METATYPE(QIcon::State)

namespace {

const QString family = QStringLiteral("Material Icons");
const QColor activeButtonText(0x11, 0x22, 0x33);
const QColor disabledButtonText(0x44, 0x55, 0x66);

// "stop" is a filled square, so the middle of the glyph is fully covered.
QColor middleColour(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage();
    return image.pixelColor(image.width() / 2, image.height() / 2);
}

bool isBlank(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) != 0)
                return false;
        }
    }
    return true;
}

QImage referenceGlyph(const QString &name, int side, int pixelSize)
{
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QFont font(family);
    font.setPixelSize(pixelSize);
    painter.setPen(Qt::black);
    painter.setFont(font);
    painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, QString(QMaterialIcon::instance()->codepoint(name)));
    painter.end();
    return pixmap.toImage();
}

} // namespace

class TestQMaterialIcon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void fontAndTableLoaded();
    void codepointLookup_data();
    void codepointLookup();
    void tableParser_data();
    void tableParser();
    void glyphPixelSize_data();
    void glyphPixelSize();
    void paintColour_data();
    void paintColour();
    void engineKeepsColoursOfItsCreation();
    void unknownNamePaintsNothing();
    void cloneHasNoGlyph();

private:
    SettingsSandbox sandbox;
};

void TestQMaterialIcon::initTestCase()
{
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Active, QPalette::ButtonText, activeButtonText);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, disabledButtonText);
    QApplication::setPalette(palette);
    QCOMPARE(QApplication::palette("QWidget").color(QPalette::Disabled, QPalette::ButtonText), disabledButtonText);
}

void TestQMaterialIcon::init()
{
    QMaterialIcon::instance()->setBase(Qt::black);
    QMaterialIcon::instance()->setOnColor(QColor());
}

void TestQMaterialIcon::fontAndTableLoaded()
{
    QVERIFY(!QMaterialIcon::instance()->icon(QStringLiteral("done")).isNull());
    QVERIFY(QFontDatabase().families().contains(family));
    QVERIFY(QMaterialIcon::instance()->property("base").isValid());
}

void TestQMaterialIcon::codepointLookup_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");
    QTest::addColumn<int>("code");

    QTest::newRow("done") << "done" << true << 0xe876;
    QTest::newRow("leading digit") << "3d_rotation" << true << 0xe84d;
    QTest::newRow("stop") << "stop" << true << 0xe047;
    QTest::newRow("unknown") << "no_such_icon" << false << 0;
    QTest::newRow("empty") << "" << false << 0;
    QTest::newRow("case matters") << "Done" << false << 0;
}

void TestQMaterialIcon::codepointLookup()
{
    QFETCH(QString, name);
    QFETCH(bool, found);
    QFETCH(int, code);

    bool ok = !found;
    const QChar letter = QMaterialIcon::instance()->codepoint(name, &ok);
    QCOMPARE(ok, found);
    QCOMPARE(int(letter.unicode()), code);
    QCOMPARE(QMaterialIcon::instance()->codepoint(name), letter);
}

void TestQMaterialIcon::tableParser_data()
{
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QList<uint>>("codes");

    QTest::newRow("plain") << QByteArray("alarm e855\nadd e145\n")
                           << QStringList{"alarm", "add"} << QList<uint>{0xe855, 0xe145};
    QTest::newRow("no final line end") << QByteArray("alarm e855\nadd e145")
                                       << QStringList{"alarm", "add"} << QList<uint>{0xe855, 0xe145};
    QTest::newRow("blank lines do not stop") << QByteArray("alarm e855\n\n   \nadd e145\n")
                                             << QStringList{"alarm", "add"} << QList<uint>{0xe855, 0xe145};
    QTest::newRow("extra blanks and CRLF") << QByteArray("  alarm   e855  \r\nadd\te145\r\n")
                                           << QStringList{"alarm"} << QList<uint>{0xe855};
    QTest::newRow("more than two fields skipped") << QByteArray("alarm e855 extra\nadd e145\n")
                                                  << QStringList{"add"} << QList<uint>{0xe145};
    QTest::newRow("one field skipped") << QByteArray("alarm\nadd e145\n")
                                       << QStringList{"add"} << QList<uint>{0xe145};
    QTest::newRow("later line wins") << QByteArray("alarm e855\nalarm e856\n")
                                     << QStringList{"alarm"} << QList<uint>{0xe856};
    QTest::newRow("upper-case hex") << QByteArray("alarm E855\n") << QStringList{"alarm"} << QList<uint>{0xe855};
    QTest::newRow("bad hex kept as zero") << QByteArray("alarm zz\n") << QStringList{"alarm"} << QList<uint>{0};
    QTest::newRow("empty") << QByteArray() << QStringList{} << QList<uint>{};
}

void TestQMaterialIcon::tableParser()
{
    QFETCH(QByteArray, table);
    QFETCH(QStringList, names);
    QFETCH(QList<uint>, codes);

    QBuffer buffer(&table);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    const QHash<QString, unsigned int> parsed = readCodepoints(buffer);
    QCOMPARE(parsed.size(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        QVERIFY2(parsed.contains(names.at(i)), qPrintable(names.at(i)));
        QCOMPARE(parsed.value(names.at(i)), codes.at(i));
    }
}

void TestQMaterialIcon::glyphPixelSize_data()
{
    QTest::addColumn<int>("side");
    QTest::addColumn<int>("pixelSize");

    QTest::newRow("24 rounds down to 19") << 24 << 19;
    QTest::newRow("16 rounds up to 13") << 16 << 13;
    QTest::newRow("48") << 48 << 38;
}

void TestQMaterialIcon::glyphPixelSize()
{
    QFETCH(int, side);
    QFETCH(int, pixelSize);

    const QIcon icon = QMaterialIcon::instance()->icon(QStringLiteral("stop"));
    const QImage painted = icon.pixmap(QSize(side, side)).toImage();
    QCOMPARE(painted, referenceGlyph(QStringLiteral("stop"), side, pixelSize));
    // The neighbouring sizes must look different, or the comparison proves nothing.
    QVERIFY(painted != referenceGlyph(QStringLiteral("stop"), side, pixelSize - 1));
    QVERIFY(painted != referenceGlyph(QStringLiteral("stop"), side, pixelSize + 1));
}

void TestQMaterialIcon::paintColour_data()
{
    QTest::addColumn<QColor>("color");
    QTest::addColumn<QColor>("onColor");
    QTest::addColumn<QIcon::Mode>("mode");
    QTest::addColumn<QIcon::State>("state");
    QTest::addColumn<QColor>("expected");

    const QColor red(Qt::red);
    const QColor blue(Qt::blue);
    const QColor none;

    QTest::newRow("unticked: base") << red << blue << QIcon::Normal << QIcon::Off << red;
    QTest::newRow("ticked: on colour") << red << blue << QIcon::Normal << QIcon::On << blue;
    QTest::newRow("ticked, active: on colour") << red << blue << QIcon::Active << QIcon::On << blue;
    QTest::newRow("ticked without on colour: base") << red << none << QIcon::Normal << QIcon::On << red;
    QTest::newRow("disabled unticked") << red << blue << QIcon::Disabled << QIcon::Off << disabledButtonText;
    QTest::newRow("disabled ticked") << red << blue << QIcon::Disabled << QIcon::On << disabledButtonText;
    QTest::newRow("selected") << red << blue << QIcon::Selected << QIcon::On << activeButtonText;
    QTest::newRow("no colour: palette") << none << none << QIcon::Normal << QIcon::Off << activeButtonText;
}

void TestQMaterialIcon::paintColour()
{
    QFETCH(QColor, color);
    QFETCH(QColor, onColor);
    QFETCH(QIcon::Mode, mode);
    QFETCH(QIcon::State, state);
    QFETCH(QColor, expected);

    QFontIconEngine engine(family, QMaterialIcon::instance()->codepoint(QStringLiteral("stop")), color, onColor);
    const QColor painted = middleColour(engine.pixmap(QSize(48, 48), mode, state));
    QCOMPARE(painted.alpha(), 255);
    QCOMPARE(painted.rgb(), expected.rgb());
}

void TestQMaterialIcon::engineKeepsColoursOfItsCreation()
{
    QMaterialIcon *icons = QMaterialIcon::instance();
    icons->setBase(Qt::green);
    icons->setOnColor(Qt::yellow);
    const QIcon byDefault = icons->icon(QStringLiteral("stop"));
    const QIcon explicitColour = icons->icon(QStringLiteral("stop"), Qt::magenta);
    icons->setBase(Qt::black);
    icons->setOnColor(Qt::cyan);

    const QSize size(48, 48);
    QCOMPARE(middleColour(byDefault.pixmap(size, QIcon::Normal, QIcon::Off)).rgb(), QColor(Qt::green).rgb());
    QCOMPARE(middleColour(byDefault.pixmap(size, QIcon::Normal, QIcon::On)).rgb(), QColor(Qt::yellow).rgb());
    QCOMPARE(middleColour(explicitColour.pixmap(size, QIcon::Normal, QIcon::Off)).rgb(), QColor(Qt::magenta).rgb());
}

void TestQMaterialIcon::unknownNamePaintsNothing()
{
    const QIcon icon = QMaterialIcon::instance()->icon(QStringLiteral("no_such_icon"), Qt::red);
    QVERIFY(!icon.isNull());
    QVERIFY(isBlank(icon.pixmap(QSize(32, 32))));
}

void TestQMaterialIcon::cloneHasNoGlyph()
{
    QFontIconEngine engine(family, QMaterialIcon::instance()->codepoint(QStringLiteral("stop")), Qt::red, Qt::blue);
    const std::unique_ptr<QIconEngine> copy(engine.clone());
    QVERIFY(!isBlank(engine.pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off)));
    QVERIFY(isBlank(copy->pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off)));
}

QTEST_MAIN(TestQMaterialIcon)
#include "tst_qmaterialicon.moc"
