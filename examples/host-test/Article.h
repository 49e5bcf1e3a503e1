#pragma once

#include <Vemora/VemoraAdBreak.h>

#include <memory>
#include <string>

/// A host app's own code: an article that shows an ad break before its video. It uses portable headers alone,
/// so that its unit tests need no toolkit.
class Article {
 public:
  explicit Article(std::shared_ptr<vemora::View> adSlot) : adSlot_(std::move(adSlot)) {}

  void open() {
    auto request = vemora::VemoraAdRequest::init();
    request->setChannel("42");
    request->setParam("section", "news");
    adBreak_ = vemora::VemoraAdBreak::initInline(request, adSlot_);
    adBreak_->setStartTimeout(8);
    adBreak_->run([this](const vemora::VemoraAdBreak::Result& result) {
      isVideoPlaying_ = true;
      note_ = result.outcome == vemora::VemoraAdBreak::Outcome::Closed ? "Ad closed" : "";
      adBreak_ = nullptr;
    });
  }
  void leave() { adBreak_ = nullptr; }

  bool isVideoPlaying() const { return isVideoPlaying_; }
  const std::string& note() const { return note_; }

 private:
  std::shared_ptr<vemora::View> adSlot_;
  std::shared_ptr<vemora::VemoraAdBreak> adBreak_;
  bool isVideoPlaying_ = false;
  std::string note_;
};
