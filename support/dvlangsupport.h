// DVLangSupport: translations of the texts the library hands to the till.
//
// dvlang.ini, section [Lang], maps the English text (the key) to its
// translation. The file is looked for once, at the first lookup, in
// $DVCONFIG, the current directory and the system configuration directory,
// and stays loaded for the life of the process. A text without a translation
// (or with an empty one) comes back as it is.
//
// Translations are texts, never formats: callers copy them with dvCopyText.
#ifndef DV_SUPPORT_DVLANGSUPPORT_H
#define DV_SUPPORT_DVLANGSUPPORT_H

#include <atomic>
#include <string>

class CIniFile;

class DVLangSupport {
public:
    explicit DVLangSupport(const std::string& ignored);
    virtual ~DVLangSupport();

    // The translation of key, or key itself. A null key gives "".
    static std::string getText(const char* key);
    static std::string getText(const std::string& key) { return getText(key.c_str()); }

    // Path of the language file in use; "" before the first lookup or when
    // none was found.
    static std::string getIniFilePath();

    // Tests: forget the loaded file so that the next lookup searches again.
    static void ResetForTesting();
    // Unload: release the loaded file.
    static void Release();

private:
    static CIniFile* load();
    static std::atomic<CIniFile*> m_IniFile;
};

// Writes the translation of key into message (at most capacity bytes, NUL
// included; "%%" comes out as "%", see dvCopyText). A null message is left
// alone.
void dvSetMessage(char* message, const char* key, size_t capacity);

#endif
