#pragma once

#include <QRect>
#include <QSGImageNode>
#include <QSGTexture>
#include <array>
#include <memory>
#include <vector>

#include "editor/wire_painter.h"
#include "editor/wire_scene.h"

class QQuickWindow;

namespace brindlemux {

/// The pictures of the wires in the scene graph, one for each group of wires that lie between the same columns. A
/// picture that would come out the same is left alone, and so is what lies on it.
///
/// A transform node, though it moves nothing: the software renderer remembers the place of no plain node, and draws
/// what is added to one later as though the window began there.
///
/// Threads: those of the scene graph.
class WiresNode final : public QSGTransformNode {
 public:
  /// `visible` in points. `palette` changes with the painter's own.
  void show(const DrawnWires& wires, const QRectF& visible, double phase, WirePainter& painter,
            const WirePalette& palette, QQuickWindow& window);

 private:
  struct Picture {
    QSGImageNode* node = nullptr;
    std::unique_ptr<QSGTexture> texture;
    std::vector<DrawnWire> wires;
    QRect area;
    double phase = 0;
    double scale = 0;
    WirePalette palette;
  };

  void show(Picture& picture, const std::vector<DrawnWire>& wires, const QRect& visible, double phase,
            WirePainter& painter, const WirePalette& palette, QQuickWindow& window);
  void add(Picture& picture);
  void hide(Picture& picture);

  std::array<Picture, 3> pictures_;
};

}  // namespace brindlemux
