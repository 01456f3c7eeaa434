#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>
#include <QtQmlIntegration/qqmlintegration.h>

namespace brindlemux {

/// One of the pages that are shown at the first start.
struct OnboardingStep {
  Q_GADGET
  QML_VALUE_TYPE(onboardingStep)
  Q_PROPERTY(QUuid id MEMBER id CONSTANT FINAL)
  Q_PROPERTY(QString icon MEMBER icon CONSTANT FINAL)
  Q_PROPERTY(QString title MEMBER title CONSTANT FINAL)
  Q_PROPERTY(QString body MEMBER body CONSTANT FINAL)

 public:
  QUuid id = QUuid::createUuid();
  /// The name of the symbol that stands above the title.
  QString icon;
  QString title;
  QString body;
};

/// The pages in their order.
class OnboardingSteps : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QList<brindlemux::OnboardingStep> list READ list CONSTANT FINAL)

 public:
  explicit OnboardingSteps(QObject* parent = nullptr);

  const QList<OnboardingStep>& list() const noexcept { return list_; }

 private:
  const QList<OnboardingStep> list_;
};

}  // namespace brindlemux
