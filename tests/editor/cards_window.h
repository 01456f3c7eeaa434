#pragma once

#include <cstddef>
#include <string>

#include "editor/editor_window.h"

namespace brindlemux::test {

// The names of the cards.
inline const std::string sourceA = "source." + player(1).id.string();
inline const std::string sourceB = "source." + player(2).id.string();
inline const std::string monitorA = "monitor." + speakers(9).id.string();

/// A window with two sources and a monitor, wired as new ones are.
struct Cards : EditorWindow {
  Cards() {
    edit([](DeviceGraph& graph) {
      graph.sources = {player(1), player(2)};
      graph.wires = {{player(1).id, 0, 0}, {player(1).id, 1, 1}};
      graph.monitors = {speakers(9)};
      graph.monitorWires = {{0, speakers(9).id, 0}};
    });
    item(sourceB);
    item(monitorA);
  }
  float gain(std::size_t source) const { return graph().sources.at(source).gain; }
  void openGain(const std::string& card) const {
    click(card + ".gainToggle");
    ASSERT_TRUE(comesToShow(card + ".gain"));
    ASSERT_TRUE(eventually([&] { return item(card + ".gain.slider")->width() > 20; }));
  }
  /// Where the handle of a slider is when it shows this gain.
  QPoint handle(const std::string& slider, double gain) const {
    settle();
    const QQuickItem* item = this->item(slider);
    const double handleWidth = item->property("handle").value<QQuickItem*>()->width();
    const double x = handleWidth / 2 + (item->width() - handleWidth) * gain / 4;
    return item->mapToScene({x, item->height() / 2}).toPoint();
  }
  double sliderValue(const std::string& slider) const { return property(slider, "value").toDouble(); }
};

}  // namespace brindlemux::test
