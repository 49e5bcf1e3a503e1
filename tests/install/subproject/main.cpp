#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/VemoraSDK.h>

int main() {
  const auto view = vemora::gtk::viewForWidget(vemora::gtk::newAdView());
  return vemora::VemoraAdBreak::initInline(vemora::VemoraAdRequest::init(), view)->isReady();
}
