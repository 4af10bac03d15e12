// The Plot tab: curves of the numbers the board prints, drawn at a steady pace.
#include "plotview.h"

#include "qmaterialicon.h"
#include "savepath.h"

#include <QAction>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QLabel>
#include <QMouseEvent>
#include <QSettings>
#include <QSpinBox>
#include <QToolBar>
#include <QVBoxLayout>

#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_magnifier.h>
#include <qwt_plot_panner.h>
#include <qwt_plot_renderer.h>
#include <qwt_scale_engine.h>
#include <qwt_series_data.h>

#include <algorithm>

namespace {

// A series as the curve reads it, in place: nothing is copied per frame.
class SeriesSamples : public QwtSeriesData<QPointF>
{
public:
    explicit SeriesSamples(QSharedPointer<PlotSeries> series)
        : m_series(std::move(series))
    {
    }
    size_t size() const override { return size_t(m_series->count()); }
    QPointF sample(size_t i) const override
    {
        const int at = m_series->head + int(i);
        return QPointF(m_series->x.at(at), m_series->y.at(at));
    }
    QRectF boundingRect() const override { return qwtBoundingRect(*this); }

private:
    QSharedPointer<PlotSeries> m_series;
};

// Told apart on a light canvas and on a dark one.
const char *const seriesColours[PlotData::MaxSeries] = {
    "#1f77b4", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd", "#8c564b", "#e377c2", "#7f7f7f",
    "#bcbd22", "#17becf", "#5254a3", "#e6550d", "#31a354", "#ad494a", "#a55194", "#8ca252",
};

} // namespace

PlotView::PlotView(QWidget *parent)
    : QWidget(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    setupToolBar();
    setupPlot();
    m_frameTimer.setSingleShot(true);
    m_frameTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_frameTimer, &QTimer::timeout, this, &PlotView::frameDue);
    m_data.setWindow(m_windowBox->value());
    m_dirty = true;
    // A page of the log area: the window keeps the least size it had without it.
    setMinimumSize(1, 1);
}

QSize PlotView::sizeHint() const
{
    // What the log views ask for, so the window shares its height as before.
    return QSize(256, 192);
}

QSize PlotView::minimumSizeHint() const
{
    return QSize(1, 1);
}

PlotView::~PlotView()
{
    // The canvas outlives this object's members; its events must not reach them.
    m_plot->canvas()->removeEventFilter(this);
}

void PlotView::setupToolBar()
{
    auto *bar = new QToolBar(this);
    bar->setIconSize(QSize(16, 16));
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const auto add = [&](const char *icon, const QString &text, const QString &tip, const char *name) {
        QAction *action = bar->addAction(QMaterialIcon::instance()->icon(QLatin1String(icon)), text);
        action->setToolTip(tip);
        action->setObjectName(QLatin1String(name));
        return action;
    };
    m_pauseAction = add("pause", tr("Pause"), tr("Stop taking new samples"), "plotPauseAction");
    m_pauseAction->setCheckable(true);
    connect(m_pauseAction, &QAction::toggled, this, &PlotView::setPaused);
    connect(add("delete_sweep", tr("Clear"), tr("Forget all samples"), "plotClearAction"), &QAction::triggered, this,
            &PlotView::clear);
    bar->addSeparator();
    connect(add("image", tr("Save Image"), tr("Save the plot as a PNG image"), "plotSaveImageAction"),
            &QAction::triggered, this, &PlotView::saveImage);
    connect(add("table_chart", tr("Save Data"), tr("Save the samples on screen as CSV"), "plotSaveDataAction"),
            &QAction::triggered, this, &PlotView::saveData);

    bar->addSeparator();
    auto *label = new QLabel(tr("Window:"), bar);
    label->setContentsMargins(4, 0, 4, 0);
    bar->addWidget(label);
    m_windowBox = new QSpinBox(bar);
    m_windowBox->setObjectName(QStringLiteral("plotWindowBox"));
    m_windowBox->setRange(PlotData::MinWindow, PlotData::MaxWindow);
    m_windowBox->setSingleStep(50);
    m_windowBox->setSuffix(tr(" samples"));
    m_windowBox->setToolTip(tr("How many samples the plot keeps on screen"));
    // Typing "2000" must not pass through a window of 200 and lose samples.
    m_windowBox->setKeyboardTracking(false);
    m_windowBox->setValue(QSettings().value(QStringLiteral("Plot/Window"), PlotData::DefaultWindow).toInt());
    label->setBuddy(m_windowBox);
    bar->addWidget(m_windowBox);
    connect(m_windowBox, QOverload<int>::of(&QSpinBox::valueChanged), this, &PlotView::setWindow);

    layout()->addWidget(bar);
}

void PlotView::setupPlot()
{
    m_plot = new QwtPlot(this);
    // Qwt takes its whole size hint as its least size.
    m_plot->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_plot->setCanvasBackground(palette().color(QPalette::Base));
    m_plot->insertLegend(new QwtLegend(), QwtPlot::RightLegend);
    auto *grid = new QwtPlotGrid();
    grid->setPen(palette().color(QPalette::Mid), 0, Qt::DotLine);
    grid->attach(m_plot);

    QWidget *canvas = m_plot->canvas();
    // Wheel zooms, a left drag pans; both stop the following of new samples.
    auto *magnifier = new QwtPlotMagnifier(canvas);
    magnifier->setMouseButton(Qt::NoButton);
    new QwtPlotPanner(canvas);
    canvas->installEventFilter(this);
    canvas->setToolTip(tr("Wheel: zoom, drag: pan, double click: follow the newest samples"));
    layout()->addWidget(m_plot);
}

bool PlotView::addLine(const QString &line)
{
    if (m_paused)
        return m_data.isSample(line);
    if (!m_data.addLine(line))
        return false;
    changed();
    const QString refused = m_data.takeRefusedName();
    if (!refused.isEmpty())
        emit message(tr("The plot shows at most %1 series: \"%2\" and other new names are left out")
                         .arg(QString::number(PlotData::MaxSeries), refused));
    return true;
}

QStringList PlotView::seriesNames() const
{
    return m_data.seriesNames();
}

int PlotView::pointCount(const QString &series) const
{
    return m_data.pointCount(series);
}

void PlotView::setPaused(bool paused)
{
    m_paused = paused;
    m_pauseAction->setText(paused ? tr("Resume") : tr("Pause"));
    m_pauseAction->setToolTip(paused ? tr("Take new samples again") : tr("Stop taking new samples"));
    m_pauseAction->setIcon(QMaterialIcon::instance()->icon(paused ? QStringLiteral("play_arrow") : QStringLiteral("pause")));
}

void PlotView::clear()
{
    m_data.clear();
    m_following = true;
    changed();
}

void PlotView::setWindow(int samples)
{
    QSettings().setValue(QStringLiteral("Plot/Window"), samples);
    m_data.setWindow(samples);
    changed();
}

void PlotView::saveImage()
{
    const QString name = askTimestampedSavePath(this, tr("Save Plot Image"), tr("PNG images (*.png)"), QStringLiteral("Plot/Dir"),
                                                QStringLiteral("morvex_plot"), QStringLiteral(".png"));
    if (name.isEmpty())
        return;
    // What the screen shows now, also when the tab was never shown.
    drawFrame();
    QImage image(m_plot->size().expandedTo(QSize(640, 400)), QImage::Format_ARGB32);
    image.fill(palette().color(QPalette::Window));
    QwtPlotRenderer().renderTo(m_plot, image);
    QImageWriter writer(name, "png");
    if (writer.write(image))
        emit message(tr("Saved to %1").arg(QFileInfo(name).fileName()));
    else
        emit message(tr("Cannot save to %1: %2").arg(name, writer.errorString()));
}

void PlotView::saveData()
{
    const QString name = askTimestampedSavePath(this, tr("Save Plot Data"), tr("CSV files (*.csv)"), QStringLiteral("Plot/Dir"),
                                                QStringLiteral("morvex_plot"), QStringLiteral(".csv"));
    if (name.isEmpty())
        return;
    drawFrame();
    const QwtInterval shown = m_plot->axisInterval(QwtPlot::xBottom);
    QFile file(name);
    if (file.open(QIODevice::WriteOnly) && file.write(m_data.csv(shown.minValue(), shown.maxValue())) >= 0)
        emit message(tr("Saved to %1").arg(QFileInfo(name).fileName()));
    else
        emit message(tr("Cannot save to %1: %2").arg(name, file.errorString()));
}

void PlotView::changed()
{
    m_dirty = true;
    if (!m_frameTimer.isActive() && isVisible())
        scheduleFrame();
}

void PlotView::scheduleFrame()
{
    // The next frame comes as soon as the pace allows: at once after a pause,
    // a whole frame interval after the start of the last one otherwise.
    constexpr qint64 intervalNs = 1000000000 / MaxFramesPerSecond + 1;
    const qint64 wait = m_sinceFrame.isValid() ? intervalNs - m_sinceFrame.nsecsElapsed() : 0;
    m_frameTimer.start(wait > 0 ? int((wait + 999999) / 1000000) : 0);
}

void PlotView::frameDue()
{
    // Hidden: drawn when shown again.
    if (m_dirty && isVisible())
        drawFrame();
}

void PlotView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (m_dirty && !m_frameTimer.isActive())
        scheduleFrame();
}

bool PlotView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_plot->canvas()) {
        switch (event->type()) {
        case QEvent::Wheel:
        case QEvent::KeyPress:
            m_following = false;
            break;
        case QEvent::MouseButtonPress:
            if (static_cast<QMouseEvent *>(event)->button() == Qt::LeftButton)
                m_following = false;
            break;
        case QEvent::MouseButtonDblClick:
            m_following = true;
            changed();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void PlotView::drawFrame()
{
    // The pace counts from start to start: the drawing's own time is part of it.
    m_sinceFrame.start();
    syncCurves();
    if (m_following)
        followNewest();
    m_plot->replot();
    m_dirty = false;
    ++m_frames;
}

void PlotView::syncCurves()
{
    const auto &series = m_data.series();
    for (int i = m_curves.size() - 1; i >= 0; --i) {
        if (!series.contains(m_curves.at(i).series)) {
            delete m_curves.at(i).curve;
            m_curves.remove(i);
        }
    }
    for (const auto &one : series) {
        const bool drawn = std::any_of(m_curves.cbegin(), m_curves.cend(),
                                       [&](const Curve &curve) { return curve.series == one; });
        if (drawn)
            continue;
        auto *curve = new QwtPlotCurve(one->name);
        curve->setPen(QColor(QLatin1String(seriesColours[one->colour])), 1.5);
        curve->setRenderHint(QwtPlotItem::RenderAntialiased);
        curve->setLegendAttribute(QwtPlotCurve::LegendShowLine);
        curve->setPaintAttribute(QwtPlotCurve::FilterPoints);
        curve->setData(new SeriesSamples(one));
        curve->attach(m_plot);
        m_curves.append(Curve{one, curve});
    }
}

void PlotView::followNewest()
{
    const double window = m_data.window();
    const double newest = double(m_data.newest());
    // Fill from the left until the window is full, then scroll.
    const double first = std::max(0.0, newest + 1 - window);
    const double last = std::max(window - 1, newest);
    m_plot->setAxisScale(QwtPlot::xBottom, first, last);
    double low = 0;
    double high = 1;
    if (m_data.valueRange(first, last, low, high) && low == high) {
        low -= 1;
        high += 1;
    }
    double step = 0;
    QwtLinearScaleEngine().autoScale(8, low, high, step);
    m_plot->setAxisScale(QwtPlot::yLeft, low, high, step);
}
