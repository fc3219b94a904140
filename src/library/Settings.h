#pragma once

#include "DefaultsStore.h"
#include "model/Color.h"
#include "model/EnumNames.h"

#include <QStringList>

#include <cstdint>

namespace vellumix {

/// What the editor's save split button does.
enum class SaveMode { toDesktop, saveAs, saveProject };
/// Who serves the assistant: the local model or one of the two cloud variants.
enum class AIProvider { localModel, googleGeminiFlash, googleGeminiPro };

template <> struct EnumNames<SaveMode> {
    static constexpr std::array<QStringView, 3> names{u"toDesktop", u"saveAs", u"saveProject"};
};
template <> struct EnumNames<AIProvider> {
    static constexpr std::array<QStringView, 3> names{u"localModel", u"googleGeminiFlash",
                                                      u"googleGeminiPro"};
};

/// The user's preferences, typed, each with its default; read from the store on every access.
class Settings {
public:
    static constexpr std::uint32_t defaultCaptureKeyCode = 22;
    static constexpr std::uint32_t defaultCaptureModifierFlags = 0x300; // command + shift
    static constexpr int promptHistoryLimit = 50;
    static constexpr const char* defaultLocalModelURL = "http://127.0.0.1:8080";

    explicit Settings(DefaultsStore store);
    /// The application's settings, over the standard file.
    static Settings& shared();

    bool overrideNativeCapture() const;
    std::uint32_t captureKeyCode() const;
    std::uint32_t captureModifierFlags() const;
    /// Take over the desktop's own area-capture shortcut (no custom shortcut).
    void chooseNativeCaptureOverride();
    /// Use the recorded shortcut.
    void chooseCustomShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags);

    bool showCursorCoords() const;
    void setShowCursorCoords(bool on);
    bool closeAfterSave() const;
    void setCloseAfterSave(bool on);
    bool retainLastStylePerType() const;
    void setRetainLastStylePerType(bool on);
    /// What the user last chose for launching at login (the autostart entry itself decides).
    bool launchOnStartup() const;
    void setLaunchOnStartup(bool on);

    Color blankCanvasColor() const;
    void setBlankCanvasColor(const Color& color);

    SaveMode saveMode() const;
    void setSaveMode(SaveMode mode);
    /// Earlier builds stored the local provider as "appleIntelligence"; it reads as localModel.
    AIProvider aiProvider() const;
    void setAIProvider(AIProvider provider);
    /// The local model server's address, trimmed; an empty stored value turns the local model
    /// off. Default `defaultLocalModelURL`.
    QString localModelURL() const;
    void setLocalModelURL(const QString& url);

    QStringList promptHistory() const;
    /// Appends a sent prompt: trimmed, never empty, no consecutive duplicates, the newest 50.
    void appendPrompt(const QString& prompt);

    QStringList externalBundles() const;
    void setExternalBundles(const QStringList& paths);

    DefaultsStore& store() { return m_store; }

private:
    bool readBool(const char* key, bool fallback) const;
    std::uint32_t readUInt32(const char* key, std::uint32_t fallback) const;
    QStringList readStrings(const char* key) const;
    void writeStrings(const char* key, const QStringList& values);

    DefaultsStore m_store;
};

} // namespace vellumix
