#include "app/ProvidersTab.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

#include "app/ProviderConfigView.h"
#include "app/ProviderListCard.h"
#include "app/ProviderMetadata.h"
#include "app/WindowStyle.h"
#include "core/TranslationService.h"
#include "settings/AppSettings.h"

namespace tavi {
namespace {

// The card column is about 248 px wide at a 12 px font and grows with the
// font, so that the cards keep their proportions.
int cardColumnWidth(const QFont& font) {
    return std::max(248, qRound(20.6 * QFontMetricsF(font).horizontalAdvance(QChar(0x4E2D))));
}
constexpr int kCardSpacing = 6;

QString qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

// A frameless scroll area that shows its window's background: the content
// scrolls only when a large font makes it taller than the tab.
QScrollArea* makeScrollArea(QWidget* parent) {
    auto* area = new QScrollArea(parent);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->viewport()->setAutoFillBackground(false);
    return area;
}

}  // namespace

ProvidersTab::ProvidersTab(WindowServices services, QWidget* parent)
    : QWidget(parent),
      services_(std::move(services)),
      selectedProviderID_(services_.settings.activeProviderID()),
      paneArea_(makeScrollArea(this)) {
    setObjectName(QStringLiteral("providersTab"));

    auto* column = new QWidget;
    column->setAutoFillBackground(false);
    auto* cards = new QVBoxLayout(column);
    cards->setContentsMargins(0, 0, 0, 0);
    cards->setSpacing(kCardSpacing);
    for (const auto& provider : TranslationService::providers()) {
        const ProviderMetadata& metadata = providerMetadata(provider->id());
        auto* card = new ProviderListCard({provider->id(), qt(provider->name()), qt(metadata.subtitle),
                                           std::string(metadata.symbolName), std::string(metadata.accentColor)},
                                          column);
        connect(card, &ProviderListCard::clicked, this, [this, id = provider->id()] { selectProvider(id); });
        card->onStep = [this](int by) { step(by); };
        cards->addWidget(card);
        cards_.push_back(card);
    }
    cards->addStretch();
    cardArea_ = makeScrollArea(this);
    auto* cardArea = cardArea_;
    cardArea->setObjectName(QStringLiteral("providerCards"));
    cardArea->setAccessibleName(QStringLiteral("翻译服务列表"));
    cardArea->setFixedWidth(cardColumnWidth(font()));
    cardArea->setWidget(column);

    paneArea_->setObjectName(QStringLiteral("providerPane"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(style::kMargin, style::kMargin, style::kMargin, style::kMargin);
    layout->setSpacing(style::kSpacing + 4);
    layout->addWidget(cardArea);
    layout->addWidget(paneArea_, 1);

    showStates();
    changes_ = services_.settings.observe([this](std::string_view) { showStates(); });
    // Built last so that the pane's fields follow the cards in the tab order.
    const std::string initial = selectedProviderID_;
    selectedProviderID_.clear();
    selectProvider(initial);
}

ProvidersTab::~ProvidersTab() = default;

void ProvidersTab::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) cardArea_->setFixedWidth(cardColumnWidth(font()));
    QWidget::changeEvent(event);
}

// Closing the window ends the selection; switching tabs keeps it.
void ProvidersTab::hideEvent(QHideEvent* event) {
    if (!window()->isVisible()) reselectOnShow_ = true;
    QWidget::hideEvent(event);
}

void ProvidersTab::showEvent(QShowEvent* event) {
    if (std::exchange(reselectOnShow_, false)) selectProvider(services_.settings.activeProviderID());
    QWidget::showEvent(event);
}

void ProvidersTab::selectProvider(const std::string& providerID) {
    if (configView_ && providerID == selectedProviderID_) return;
    selectedProviderID_ = providerID;
    bool anySelected = false;
    for (ProviderListCard* card : cards_) {
        const bool selected = card->providerID() == providerID;
        card->setSelected(selected);
        anySelected = anySelected || selected;
        // Tab reaches the list once, at the selected card; the arrow keys
        // move within it.
        card->setFocusPolicy(selected ? Qt::StrongFocus : Qt::ClickFocus);
    }
    if (!anySelected && !cards_.empty()) cards_.front()->setFocusPolicy(Qt::StrongFocus);

    configView_ = new ProviderConfigView(providerID, services_.settings);
    delete paneArea_->takeWidget();
    paneArea_->setWidget(configView_);
}

void ProvidersTab::step(int by) {
    auto at = std::find_if(cards_.begin(), cards_.end(),
                           [this](const ProviderListCard* card) { return card->providerID() == selectedProviderID_; });
    const long index = at == cards_.end() ? (by > 0 ? -1 : static_cast<long>(cards_.size()))
                                          : static_cast<long>(at - cards_.begin());
    const long next = index + by;
    if (next < 0 || next >= static_cast<long>(cards_.size())) return;
    ProviderListCard* card = cards_[static_cast<std::size_t>(next)];
    selectProvider(card->providerID());
    card->setFocus(by > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

// Cheap enough to do on every change: seven cards, each repainting only
// when its own state moved.
void ProvidersTab::showStates() {
    const AppSettingsValues& values = services_.settings.values();
    for (ProviderListCard* card : cards_) {
        const TranslationProvider* provider = TranslationService::provider(card->providerID());
        card->setConfigured(provider && provider->isConfigured(values));
        card->setCurrent(card->providerID() == values.activeProviderID);
    }
}

}  // namespace tavi
