#pragma once

#include <QObject>

class QDBusMessage;
class QVariant;

/// Whether the user prefers light or dark windows, from the desktop's settings portal on the session bus. Asks without
/// ever blocking; without a portal nothing is told. For the main thread.
class ColorScheme : public QObject {
    Q_OBJECT
  public:
    /// As the portal counts them.
    enum class Preference { None = 0, Dark = 1, Light = 2 };
    Q_ENUM(Preference)

    /// Begins to ask and to watch.
    ColorScheme();

  Q_SIGNALS:
    /// The preference is known now, or has changed.
    void told(ColorScheme::Preference preference);

  private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);

  private:
    void ask();
    void tell(QVariant value);

    int last = -1; // what was told, as the portal counts
};
