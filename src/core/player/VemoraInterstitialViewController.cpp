#include "core/player/VemoraInterstitialViewController.h"

#include "core/player/PlacementLayout.h"
#include "ports/Platform.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vemora {

namespace {

using Stage = VemoraInterstitialViewController;

/// The controllers of the stages that belong to a session, in the order of their presentation.
std::vector<std::weak_ptr<ViewController>>& controllersInUse() {
  static auto& controllers = *new std::vector<std::weak_ptr<ViewController>>;
  return controllers;
}

bool isEntryOf(const std::weak_ptr<ViewController>& entry, const ViewController& controller) {
  const auto kept = entry.lock();
  return kept && kept->isEqual(controller);
}

void forget(const ViewController& controller) {
  std::erase_if(controllersInUse(),
                [&](const auto& entry) { return entry.expired() || isEntryOf(entry, controller); });
}

bool isInUse(const ViewController& controller) {
  const auto& all = controllersInUse();
  return std::any_of(all.begin(), all.end(), [&](const auto& entry) { return isEntryOf(entry, controller); });
}

/// The stages that were dismissed while another session was shown over them.
std::vector<std::shared_ptr<Stage>>& coveredStages() {
  static auto& stages = *new std::vector<std::shared_ptr<Stage>>;
  return stages;
}

}  // namespace

std::shared_ptr<ViewController> VemoraInterstitialViewController::init() {
  ViewControllerTraits traits;
  traits.prefersStatusBarHidden = prefersStatusBarHidden();
  return Platform::shared().application().createViewController(traits);
}

std::shared_ptr<VemoraInterstitialViewController> VemoraInterstitialViewController::present(
    const std::shared_ptr<ViewController>& presenter, const std::shared_ptr<WebView>& webView,
    Callback onPresented, Callback onClosedByViewer) {
  std::shared_ptr<Stage> stage(new Stage);
  stage->controller_ = init();
  stage->onPresented_ = std::move(onPresented);
  stage->onClosedByViewer_ = std::move(onClosedByViewer);
  const auto view = stage->controller_->view();
  view->addSubview(webView);
  view->setBackgroundColorBlack();
  webView->setUserInteractionEnabled(true);
  webView->setTranslatesAutoresizingMaskIntoConstraints(false);
  pinEdges(webView, view, true);
  stage->controller_->setPresentationDelegate(stage);
  controllersInUse().push_back(stage->controller_);
  presenter->presentViewController(stage->controller_, true, [weak = std::weak_ptr(stage)] {
    const auto self = weak.lock();
    if (!self) return;
    self->isPresented_ = true;
    if (const auto presented = std::exchange(self->onPresented_, nullptr)) presented();
  });
  if (presents(*presenter, *stage->controller_)) return stage;
  forget(*stage->controller_);
  return nullptr;
}

bool VemoraInterstitialViewController::holds(const View& view) const {
  return view.isDescendantOfView(*controller_->view());
}

void VemoraInterstitialViewController::dismiss() {
  onPresented_ = nullptr;
  onClosedByViewer_ = nullptr;
  forget(*controller_);
  if (isCovered()) {
    coveredStages().push_back(shared_from_this());
    return;
  }
  takeDown();
  takeDownUncovered();
}

void VemoraInterstitialViewController::presentationControllerDidDismiss() {
  const auto self = shared_from_this();
  forget(*controller_);
  std::erase(coveredStages(), self);
  onPresented_ = nullptr;
  if (const auto closed = std::exchange(onClosedByViewer_, nullptr)) closed();
  takeDownUncovered();
}

bool VemoraInterstitialViewController::isCovered() const {
  for (auto over = controller_->presentedViewController(); over; over = over->presentedViewController()) {
    if (isInUse(*over)) return true;
  }
  return false;
}

void VemoraInterstitialViewController::takeDown() {
  // None when the stage was closed by the viewer.
  if (const auto presenter = controller_->presentingViewController()) presenter->dismissViewController(true);
}

void VemoraInterstitialViewController::takeDownUncovered() {
  std::vector<std::shared_ptr<Stage>> uncovered;
  std::erase_if(coveredStages(), [&](const auto& stage) {
    if (stage->isCovered()) return false;
    uncovered.push_back(stage);
    return true;
  });
  for (const auto& stage : uncovered) stage->takeDown();
}

}  // namespace vemora
