#include "support/dvlangsupport.h"

#include "config/dvconfigfile.h"
#include "config/inifile.h"
#include "support/dvinitorder.h"
#include "support/dvtext.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

std::atomic<CIniFile*> DVLangSupport::m_IniFile{nullptr};

namespace {

std::mutex g_loadMutex;

std::string findLanguageFile()
{
    std::string candidates[3];
    int count = 0;
    if (const char* dir = getenv("DVCONFIG"))
        candidates[count++] = std::string(dir) + "/" + "dvlang.ini";
    candidates[count++] = std::string(".") + "/" + "dvlang.ini";
    candidates[count++] = dvSystemConfigDir() + "dvlang.ini";
    for (int i = 0; i < count; ++i) {
        if (FILE* file = fopen(candidates[i].c_str(), "r")) {
            fclose(file);
            return candidates[i];
        }
    }
    return std::string();
}

// Releases the language file when the library is unloaded, after every
// other global that may still look up a text.
struct LangRelease {
    ~LangRelease() { DVLangSupport::Release(); }
} g_langRelease DV_INIT_SUPPORT;

} // namespace

DVLangSupport::DVLangSupport(const std::string&) {}

DVLangSupport::~DVLangSupport() {}

CIniFile* DVLangSupport::load()
{
    CIniFile* file = m_IniFile.load(std::memory_order_acquire);
    if (file)
        return file;
    std::lock_guard<std::mutex> lock(g_loadMutex);
    file = m_IniFile.load(std::memory_order_relaxed);
    if (!file) {
        file = new CIniFile(findLanguageFile());
        file->ReadFile();
        m_IniFile.store(file, std::memory_order_release);
    }
    return file;
}

std::string DVLangSupport::getText(const char* key)
{
    if (!key)
        return std::string();
    const std::string value = load()->GetValue("Lang", key, "");
    // A translation that reads as empty text (also one that starts with a
    // NUL byte) leaves the English text.
    return value.c_str()[0] == '\0' ? std::string(key) : value;
}

std::string DVLangSupport::getIniFilePath()
{
    const CIniFile* file = m_IniFile.load(std::memory_order_acquire);
    return file ? file->Path() : std::string();
}

void DVLangSupport::ResetForTesting()
{
    Release();
}

void DVLangSupport::Release()
{
    std::lock_guard<std::mutex> lock(g_loadMutex);
    delete m_IniFile.exchange(nullptr);
}

void dvSetMessage(char* message, const char* key, size_t capacity)
{
    if (!message)
        return;
    dvCopyText(message, capacity, DVLangSupport::getText(key));
}
