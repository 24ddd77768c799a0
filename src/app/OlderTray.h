#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <cstdint>

/// The tray of older X11 desktops, looked for without Qt, which would take it once and for all. Elsewhere there is
/// none.
class OlderTray : public QObject, private QAbstractNativeEventFilter {
    Q_OBJECT
  public:
    ~OlderTray() override;

    /// Tells appeared() once if there is a tray, else as soon as one comes.
    void watch();

  Q_SIGNALS:
    void appeared();

  private:
    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

    std::uint32_t manager = 0;   // the atom of the message by which a tray tells that it is there
    std::uint32_t selection = 0; // the atom of what it owns then
};
