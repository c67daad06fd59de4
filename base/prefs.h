// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences record: all settings, the groups with their check marks and per-server progress,
// the servers, the remembered recipients and the killfile. One live record for the whole run;
// dialogs edit a copy (CopyPrefs) that becomes the live record or is dropped. Program thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quillet {

// Counts are kept beside the lists on purpose: they are stored values of their own, and every list
// has exactly as many entries as its count says (lists of per-server numbers: numservers x
// numgroups, element index = server x numgroups + group).
struct Prefs {  // NOLINT(clang-analyzer-optin.performance.Padding): in the order of the subjects
  std::uint32_t version = 0;
  std::uint32_t numgroups = 0;
  std::vector<std::u16string> groups;
  std::vector<std::uint32_t> checked;
  std::vector<std::uint32_t> lastdownloaded;
  std::vector<std::uint32_t> lastonserver;
  std::array<std::int32_t, 2> columnWidths{};  // pixels; 0: the display's own choice
  std::uint32_t numservers = 0;
  std::vector<std::u16string> servers;
  std::vector<std::u16string> authusers;
  std::vector<std::u16string> authpasses;
  std::vector<std::uint32_t> port;
  std::vector<std::uint32_t> useauths;
  std::vector<std::uint32_t> usentlms;
  std::uint32_t selectedserver = 0;
  std::uint32_t maxarticlesize = 0;  // kilobytes
  std::uint32_t maxarticles = 0;
  std::u16string returnmailaddress;
  std::uint32_t useautodownload = 0;
  std::uint32_t showheaders = 0;
  std::uint32_t removecrs = 0;
  std::uint32_t maxstore = 0;  // percent
  std::uint32_t beepafter = 0;
  std::uint32_t keepheaders = 0;
  std::uint32_t downloadfull = 0;
  std::uint32_t onlinemode = 0;
  std::u16string attribution;
  std::u16string extraheaders;
  std::u16string quotestring;
  std::u16string signature;
  std::u16string fullname;
  std::u16string font;
  std::uint32_t fontsize = 0;  // 1 to 8
  std::u16string conxmethod;
  std::uint32_t keeptranslog = 0;  // never stored
  std::uint32_t simplepost = 0;
  std::uint32_t numrecips = 0;
  std::vector<std::u16string> prevnames;
  std::vector<std::u16string> prevemail;
  std::uint32_t downloadhr = 0;
  std::uint32_t downloadmn = 0;
  std::uint32_t downloadsc = 0;
  std::uint32_t autodeleteread = 0;
  std::uint32_t autodeletebefore = 0;
  std::uint32_t autodeleteonquit = 0;
  std::vector<std::uint32_t> killfilegroups;
  std::vector<std::string> killfiletexts;
  std::vector<std::uint32_t> killfilekills;
  std::vector<std::uint32_t> killfileauthors;
  std::uint32_t killfilecount = 0;
  std::uint32_t prefspage = 0;
  std::uint32_t skipverifications = 0;
  std::uint32_t usethreading = 0;
  std::uint32_t reversethread = 0;
  std::uint32_t downloadnewest = 0;
  std::u16string databasestore;   // name of the storage card; empty: main memory
  std::u16string databasefolder;  // derived from it, never stored
  std::uint32_t sidetabs = 0;
  std::u16string groupfont;
  std::uint32_t groupfontsize = 0;
  std::u16string threadfont;
  std::uint32_t threadfontsize = 0;
  std::u16string articleheaderfont;
  std::uint32_t articleheaderfontsize = 0;
  std::u16string transport;
  bool has_transport = true;  // false: the transport string is null and is not written
  std::uint32_t alwaystransport = 0;
  std::uint32_t usecompression = 0;
  std::uint32_t colorquoted = 0;
  std::uint32_t allserversareone = 0;
};

// The live record; null before ReadPreferences.
extern std::unique_ptr<Prefs> gPrefs;

// The saved command-bar layouts of the three views (group, thread, article), verbatim, with the
// flag whether the registry had one. Outside the record: dialogs do not edit them.
struct CommandBarBlob {
  std::array<char, 40> bytes{};
  bool found = false;
};
extern std::array<CommandBarBlob, 3> gCommandBars;

// A zero-filled record; null after the critical report "out of memory" in "NewPrefs".
std::unique_ptr<Prefs> NewPrefs();
// A deep copy; null as above.
std::unique_ptr<Prefs> CopyPrefs(const Prefs& prefs);
// Factory settings. Keeps the groups, databasestore and the remembered recipients; drops the
// servers, and the killfile too when asked.
void SetDefaultPrefs(Prefs& prefs, bool reset_killfile);

}  // namespace quillet
