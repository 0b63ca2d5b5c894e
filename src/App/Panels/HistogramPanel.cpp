#include "App/Panels/HistogramPanel.h"

#include "App/Look/Theme.h"
#include "App/Panels/HistogramPlot.h"
#include "Base/Settings.h"
#include "Editor/DocumentSession.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <array>
#include <chrono>
#include <utility>

namespace ombrel {

namespace {

using namespace std::chrono_literals;

constexpr auto gathering = 150ms;
constexpr auto beforeEveryPixel = 600ms;
constexpr auto slice = 8ms;

constexpr const char* channelKey = "histogramChannel";
constexpr const char* sourceKey = "histogramSource";
constexpr const char* scaleKey = "histogramScale";

struct Choice {
    const char* key; ///< in the settings
    const char* words;
};
constexpr std::array<Choice, 5> channels{{{"luminance", "Luminance"},
                                          {"rgb", "RGB"},
                                          {"red", "Red"},
                                          {"green", "Green"},
                                          {"blue", "Blue"}}};
constexpr std::array<Choice, 2> sources{{{"picture", "Picture"}, {"layer", "Layer"}}};
constexpr std::array<Choice, 2> scales{{{"perceptual", "Perceptual"}, {"linear", "Linear"}}};

QComboBox* makeChoice(std::span<const Choice> choices, const char* objectName, const char* name,
                      const Json& stored, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setObjectName(QLatin1String(objectName));
    box->setAccessibleName(QLatin1String(name));
    box->setToolTip(QLatin1String(name));
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setMinimumContentsLength(6);
    for (const Choice& choice : choices) {
        box->addItem(QLatin1String(choice.words), QLatin1String(choice.key));
        if (stored == choice.key) box->setCurrentIndex(box->count() - 1);
    }
    return box;
}

QString percentText(std::uint64_t part, std::uint64_t whole) {
    if (part == 0 || whole == 0) return QStringLiteral("0 %");
    const double percent = 100 * static_cast<double>(part) / static_cast<double>(whole);
    if (percent < 0.01) return QStringLiteral("< 0.01 %");
    return QStringLiteral("%1 %").arg(percent, 0, 'f', percent < 10 ? 2 : 1);
}

} // namespace

HistogramPanel::HistogramPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), settings_(context.settings),
      survey_(std::make_shared<ToneSurvey>(context.device, context.store)),
      plot_(new HistogramPlot(this)), work_(context.main, context.worker, gathering, [this] {
          return counting(ToneSurvey::Detail::samples);
      }) {
    makeChoices();
    makeFigures();
    rest_.setSingleShot(true);
    rest_.setInterval(beforeEveryPixel);
    connect(&rest_, &QTimer::timeout, this,
            [this] { work_.startIdle(counting(ToneSurvey::Detail::everyPixel)); });
    plot_->onReadout = [this](std::optional<int> step) { showReadout(step); };
    connections_.push_back(session_->_state.onChange([this](const auto&) { changed(); }));
    showChoice();
}

HistogramPanel::~HistogramPanel() = default;

void HistogramPanel::makeChoices() {
    channel_ =
        makeChoice(channels, "histogramChannel", "Channel", settings_.json(channelKey), this);
    source_ = makeChoice(sources, "histogramSource", "Of the whole picture or the active layer",
                         settings_.json(sourceKey), this);
    scale_ = makeChoice(scales, "histogramScale", "Scale", settings_.json(scaleKey), this);
    const auto follow = [this](QComboBox* box, const char* key, auto then) {
        connect(box, &QComboBox::currentIndexChanged, this, [this, box, key, then] {
            settings_.setJson(key, box->currentData().toString().toStdString());
            then();
        });
    };
    follow(channel_, channelKey, [this] { showChoice(); });
    follow(scale_, scaleKey, [this] { showChoice(); });
    follow(source_, sourceKey, [this] { changed(); });
}

void HistogramPanel::makeFigures() {
    const auto makeLabel = [this](const char* objectName) {
        auto* label = new QLabel(this);
        label->setObjectName(QLatin1String(objectName));
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setForegroundRole(QPalette::PlaceholderText);
        label->setMinimumWidth(1);
        return label;
    };
    figures_ = makeLabel("histogramFigures");
    clipped_ = makeLabel("histogramClipped");
    readout_ = makeLabel("histogramReadout");
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(Spacing::tight, Spacing::tight, Spacing::tight, Spacing::tight);
    layout->setSpacing(Spacing::hair);
    int column = 0;
    for (QComboBox* box : {source_, channel_, scale_})
        layout->addWidget(box, 0, column++);
    layout->addWidget(plot_, 1, 0, 1, 3);
    layout->setRowStretch(1, 1);
    int row = 2;
    for (QLabel* label : {figures_, clipped_, readout_})
        layout->addWidget(label, row++, 0, 1, 3);
}

std::optional<ToneSurvey::Subject> HistogramPanel::subject() const {
    const DocumentState& state = *session_->_state;
    if (source_->currentIndex() == 0) return ToneSurvey::merged(state);
    const PixelLayer* layer = state.activePixelLayer();
    if (layer == nullptr) return std::nullopt;
    return ToneSurvey::layer(*layer, state.canvas);
}

void HistogramPanel::changed() {
    if (!isVisible()) return;
    rest_.stop();
    work_.wish();
}

FollowingWork::Job HistogramPanel::counting(ToneSurvey::Detail detail) {
    auto wanted = subject();
    if (!wanted) {
        take(detail, {}, 1);
        return {};
    }
    auto count = [wanted = std::move(wanted), detail, survey = survey_]() mutable {
        if (wanted) survey->begin(*std::exchange(wanted, std::nullopt), detail);
        const auto result = survey->advance(slice);
        return !result || *result;
    };
    // Between the last slice and the next job nobody else touches the survey.
    return {std::move(count),
            [this, detail] { take(detail, survey_->counts(), survey_->pixelsOfSample()); }};
}

void HistogramPanel::take(ToneSurvey::Detail detail, const ToneCounts& counts,
                          std::int64_t pixelsOfSample) {
    counts_ = counts;
    pixelsOfSample_ = pixelsOfSample;
    plot_->setCounts(counts_);
    showFigures();
    if (detail == ToneSurvey::Detail::samples && pixelsOfSample > 1) rest_.start();
}

ToneChannel HistogramPanel::figureChannel() const {
    constexpr std::array<ToneChannel, 5> shown{ToneChannel::luminance, ToneChannel::luminance,
                                               ToneChannel::red, ToneChannel::green,
                                               ToneChannel::blue};
    return shown[static_cast<std::size_t>(channel_->currentIndex())];
}

void HistogramPanel::showChoice() {
    const bool areAll = channel_->currentIndex() == 1;
    plot_->setChannel(areAll ? std::nullopt : std::optional(figureChannel()));
    plot_->setScale(scale_->currentIndex() == 0 ? ToneScale::perceptual : ToneScale::linear);
    showFigures();
}

void HistogramPanel::showFigures() {
    const ToneScale scale = scale_->currentIndex() == 0 ? ToneScale::perceptual : ToneScale::linear;
    const std::uint64_t pixels = counts_.pixelCount();
    if (pixels == 0) {
        figures_->setText(QStringLiteral("No pixels"));
        clipped_->clear();
        return;
    }
    const ToneCounts::Figures figures = counts_.figuresOf(figureChannel(), scale);
    figures_->setText(QStringLiteral("Mean %1   Median %2   Std dev %3")
                          .arg(figures.mean, 0, 'f', 1)
                          .arg(figures.median, 0, 'f', 0)
                          .arg(figures.deviation, 0, 'f', 1));
    std::uint64_t shadows = 0;
    std::uint64_t highlights = 0;
    const bool areAll = channel_->currentIndex() == 1;
    for (const ToneChannel channel : {ToneChannel::red, ToneChannel::green, ToneChannel::blue}) {
        if (!areAll) break;
        shadows = std::max(shadows, counts_.shadows(channel));
        highlights = std::max(highlights, counts_.highlights(channel));
    }
    if (!areAll) {
        shadows = counts_.shadows(figureChannel());
        highlights = counts_.highlights(figureChannel());
    }
    clipped_->setText(QStringLiteral("Clipped: black %1, white %2")
                          .arg(percentText(shadows, pixels), percentText(highlights, pixels)));
    const QString counted =
        pixelsOfSample_ > 1
            ? QStringLiteral("One of %1 pixels so far").arg(pixelsOfSample_)
            : QStringLiteral("%1 pixels")
                  .arg(QLocale(QLocale::English).toString(static_cast<qulonglong>(pixels)));
    figures_->setToolTip(counted);
    clipped_->setToolTip(areAll ? QStringLiteral("Of the channel with the most") : QString());
    showReadout(std::nullopt);
}

void HistogramPanel::showReadout(std::optional<int> step) {
    if (!step) {
        readout_->setText(figures_->toolTip());
        return;
    }
    const ToneScale scale = scale_->currentIndex() == 0 ? ToneScale::perceptual : ToneScale::linear;
    const auto countAt = [&](ToneChannel channel) {
        return counts_.binsOf(channel, scale)[static_cast<std::size_t>(*step)];
    };
    const std::uint64_t pixels = counts_.pixelCount();
    QStringList parts{QStringLiteral("Level %1").arg(*step)};
    if (channel_->currentIndex() == 1) {
        constexpr std::array<const char*, 3> letters{"R", "G", "B"};
        for (std::size_t i = 0; i < letters.size(); ++i)
            parts += QStringLiteral("%1 %2").arg(
                QLatin1String(letters[i]),
                percentText(countAt(static_cast<ToneChannel>(i)), pixels));
    } else {
        const ToneCounts::Bins bins = counts_.binsOf(figureChannel(), scale);
        std::uint64_t below = 0;
        for (int i = 0; i <= *step; ++i)
            below += bins[static_cast<std::size_t>(i)];
        parts += percentText(countAt(figureChannel()), pixels);
        parts += QStringLiteral("up to here %1").arg(percentText(below, pixels));
    }
    readout_->setText(parts.join(QStringLiteral("   ")));
}

void HistogramPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    changed();
}

void HistogramPanel::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    rest_.stop();
    work_.stopWith([survey = survey_] { // keeps nothing of the document alive
        survey->begin({}, ToneSurvey::Detail::samples);
        return true;
    });
}

} // namespace ombrel
