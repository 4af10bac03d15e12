#include "qfonticonengine.h"
#include "qmaterialicon.h"
#include "qmaterialicon_p.h"
#include "testsupport.h"

#include <QApplication>
#include <QBuffer>
#include <QPainter>
#include <QtTest>

#include <memory>

Q_DECLARE_METATYPE(QIcon::Mode)
Q_DECLARE_METATYPE(QIcon::State)

namespace {

const QString family = QStringLiteral("Material Icons");
const QColor activeButtonText(0x11, 0x22, 0x33);
const QColor disabledButtonText(0x44, 0x55, 0x66);

QChar stopGlyph()
{
    return QMaterialIcon::instance()->codepoint(QStringLiteral("stop"));
}

// "stop" is a filled square, so the middle of the glyph is fully covered.
QRgb middle(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage();
    return image.pixel(image.width() / 2, image.height() / 2);
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

QImage stopAtPixelSize(int side, int pixelSize)
{
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QFont font(family);
    font.setPixelSize(pixelSize);
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, QString(stopGlyph()));
    painter.end();
    return pixmap.toImage();
}

} // namespace

class TestQMaterialIcon : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void codepointLookup_data();
    void codepointLookup();
    void tableParser_data();
    void tableParser();
    void glyphPixelSize_data();
    void glyphPixelSize();
    void paintColour_data();
    void paintColour();
    void engineKeepsColoursOfItsCreation();
    void unknownNameAndCloneAreBlank();

private:
    SettingsSandbox sandbox;
};

void TestQMaterialIcon::initTestCase()
{
    QPalette palette = QApplication::palette();
    palette.setColor(QPalette::Active, QPalette::ButtonText, activeButtonText);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, disabledButtonText);
    QApplication::setPalette(palette);
}

void TestQMaterialIcon::codepointLookup_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");
    QTest::addColumn<int>("code");

    QTest::newRow("done") << "done" << true << 0xe876;
    QTest::newRow("leading digit") << "3d_rotation" << true << 0xe84d;
    QTest::newRow("unknown") << "no_such_icon" << false << 0;
    QTest::newRow("case matters") << "Done" << false << 0;
}

void TestQMaterialIcon::codepointLookup()
{
    QFETCH(QString, name);
    QFETCH(bool, found);
    QFETCH(int, code);

    bool ok = !found;
    QCOMPARE(int(QMaterialIcon::instance()->codepoint(name, &ok).unicode()), code);
    QCOMPARE(ok, found);
}

void TestQMaterialIcon::tableParser_data()
{
    QTest::addColumn<QByteArray>("table");
    QTest::addColumn<QString>("expected"); // "name=code" pairs, sorted

    QTest::newRow("blank lines and no final line end") << QByteArray("alarm e855\n\n  \n add   e145 ") << "add=e145 alarm=e855";
    QTest::newRow("CRLF, tab is no separator") << QByteArray("alarm e855\r\nadd\te145\r\n") << "alarm=e855";
    QTest::newRow("more than two fields skipped") << QByteArray("alarm e855 x\nadd e145\n") << "add=e145";
    QTest::newRow("one field skipped") << QByteArray("alarm\nadd e145\n") << "add=e145";
    QTest::newRow("later line wins") << QByteArray("alarm e855\nalarm E856\n") << "alarm=e856";
}

void TestQMaterialIcon::tableParser()
{
    QFETCH(QByteArray, table);
    QFETCH(QString, expected);

    QBuffer buffer(&table);
    QVERIFY(buffer.open(QIODevice::ReadOnly));
    const QHash<QString, unsigned int> codes = readCodepoints(buffer);
    QStringList pairs;
    for (auto it = codes.cbegin(); it != codes.cend(); ++it)
        pairs << it.key() + QLatin1Char('=') + QString::number(it.value(), 16);
    pairs.sort();
    QCOMPARE(pairs.join(QLatin1Char(' ')), expected);
}

void TestQMaterialIcon::glyphPixelSize_data()
{
    QTest::addColumn<int>("side");
    QTest::addColumn<int>("pixelSize");

    QTest::newRow("24 gives 19") << 24 << 19;
    QTest::newRow("16 gives 13") << 16 << 13;
}

void TestQMaterialIcon::glyphPixelSize()
{
    QFETCH(int, side);
    QFETCH(int, pixelSize);

    const QImage painted = QMaterialIcon::instance()->icon(QStringLiteral("stop")).pixmap(side, side).toImage();
    QCOMPARE(painted, stopAtPixelSize(side, pixelSize));
    // Neighbouring sizes must differ, or the comparison proves nothing.
    QVERIFY(painted != stopAtPixelSize(side, pixelSize - 1));
    QVERIFY(painted != stopAtPixelSize(side, pixelSize + 1));
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
    QTest::newRow("unticked") << red << blue << QIcon::Normal << QIcon::Off << red;
    QTest::newRow("ticked") << red << blue << QIcon::Active << QIcon::On << blue;
    QTest::newRow("ticked, no on colour") << red << QColor() << QIcon::Normal << QIcon::On << red;
    QTest::newRow("disabled unticked") << red << blue << QIcon::Disabled << QIcon::Off << disabledButtonText;
    QTest::newRow("disabled ticked") << red << blue << QIcon::Disabled << QIcon::On << disabledButtonText;
    QTest::newRow("selected") << red << blue << QIcon::Selected << QIcon::On << activeButtonText;
    QTest::newRow("no colour") << QColor() << QColor() << QIcon::Normal << QIcon::Off << activeButtonText;
}

void TestQMaterialIcon::paintColour()
{
    QFETCH(QColor, color);
    QFETCH(QColor, onColor);
    QFETCH(QIcon::Mode, mode);
    QFETCH(QIcon::State, state);
    QFETCH(QColor, expected);

    QFontIconEngine engine(family, stopGlyph(), color, onColor);
    QCOMPARE(middle(engine.pixmap(QSize(48, 48), mode, state)), expected.rgba());
}

void TestQMaterialIcon::engineKeepsColoursOfItsCreation()
{
    QMaterialIcon *icons = QMaterialIcon::instance();
    icons->setBase(Qt::green);
    icons->setOnColor(Qt::yellow);
    const QIcon byDefault = icons->icon(QStringLiteral("stop"));
    const QIcon magenta = icons->icon(QStringLiteral("stop"), Qt::magenta);
    icons->setBase(Qt::black);
    icons->setOnColor(QColor());

    QCOMPARE(middle(byDefault.pixmap(48, QIcon::Normal, QIcon::Off)), QColor(Qt::green).rgba());
    QCOMPARE(middle(byDefault.pixmap(48, QIcon::Normal, QIcon::On)), QColor(Qt::yellow).rgba());
    QCOMPARE(middle(magenta.pixmap(48, QIcon::Normal, QIcon::Off)), QColor(Qt::magenta).rgba());
}

void TestQMaterialIcon::unknownNameAndCloneAreBlank()
{
    const QIcon unknown = QMaterialIcon::instance()->icon(QStringLiteral("no_such_icon"), Qt::red);
    QVERIFY(!unknown.isNull());
    QVERIFY(isBlank(unknown.pixmap(32)));

    QFontIconEngine engine(family, stopGlyph(), Qt::red, Qt::blue);
    const std::unique_ptr<QIconEngine> copy(engine.clone());
    QVERIFY(!isBlank(engine.pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off)));
    QVERIFY(isBlank(copy->pixmap(QSize(32, 32), QIcon::Normal, QIcon::Off)));
}

QTEST_MAIN(TestQMaterialIcon)
#include "tst_qmaterialicon.moc"
