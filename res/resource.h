// Every resource id: icons, bitmaps, dialogs with their controls, commands.
#pragma once

#include <cstdint>

namespace quillet {

// Icons and bitmaps.
constexpr std::uint32_t kIconMain = 103;
constexpr std::uint32_t kBitmapGroupTab = 117;
constexpr std::uint32_t kBitmapThreadTab = 110;
constexpr std::uint32_t kBitmapArticleTab = 176;
constexpr std::uint32_t kBitmapGroupSideTab = 179;
constexpr std::uint32_t kBitmapThreadSideTab = 180;
constexpr std::uint32_t kBitmapArticleSideTab = 181;
constexpr std::uint32_t kIconRefused = 182;
constexpr std::uint32_t kIconUndo = 183;
constexpr std::uint32_t kIconRedo = 184;
constexpr std::uint32_t kIconCut = 185;
constexpr std::uint32_t kIconCopy = 186;
constexpr std::uint32_t kIconPaste = 187;
constexpr std::uint32_t kIconDelete = 188;
constexpr std::uint32_t kIconSelectAll = 189;

// Controls that every dialog may have.
constexpr std::uint32_t kControlOk = 1;
constexpr std::uint32_t kControlCancel = 2;

// Progress dialog.
constexpr std::uint32_t kDialogProgress = 120;
constexpr std::uint32_t kControlProgressBar = 1004;
constexpr std::uint32_t kControlProgressTitle = 1020;
constexpr std::uint32_t kControlProgressDetail = 1022;

// About box.
constexpr std::uint32_t kDialogAbout = 121;
constexpr std::uint32_t kControlAboutProgram = 1021;  // its name and version

// "Subscribe to newsgroup".
constexpr std::uint32_t kDialogNewGroup = 122;
constexpr std::uint32_t kControlGroupName = 1001;

// Panes of the article view.
constexpr std::uint32_t kPaneHeaderBar = 1014;
constexpr std::uint32_t kPaneViewer = 49999;

// "Find".
constexpr std::uint32_t kDialogFind = 123;
constexpr std::uint32_t kControlFindText = 1005;
constexpr std::uint32_t kControlMatchCase = 1006;
constexpr std::uint32_t kControlWholeWord = 1007;
constexpr std::uint32_t kControlSearchHeaders = 1008;

// "Message headers".
constexpr std::uint32_t kDialogMessageHeaders = 124;
constexpr std::uint32_t kControlMessageHeaders = 1009;

// "Add to killfile".
constexpr std::uint32_t kDialogKillfileEntry = 125;
constexpr std::uint32_t kControlAuthorRule = 1010;
constexpr std::uint32_t kControlAuthorText = 1011;
constexpr std::uint32_t kControlSubjectRule = 1012;
constexpr std::uint32_t kControlSubjectText = 1013;
constexpr std::uint32_t kControlAllGroups = 1015;

// "Error log" of runs that nobody waits for.
constexpr std::uint32_t kDialogErrorLog = 126;
constexpr std::uint32_t kControlErrorLog = 1016;

// "Post Message": the whole article as one text.
constexpr std::uint32_t kDialogPostMessage = 127;
constexpr std::uint32_t kControlArticleText = 1014;
constexpr std::uint32_t kControlRoute = 1048;

// "Post Message": one header field at a time, and the body.
constexpr std::uint32_t kDialogSimplePost = 128;
constexpr std::uint32_t kControlPostBody = 1014;
constexpr std::uint32_t kControlPostField = 1063;
constexpr std::uint32_t kControlPostValue = 1065;
constexpr std::uint32_t kControlPickRecipients = 1066;

// "Pending Posts".
constexpr std::uint32_t kDialogPendingPosts = 129;
constexpr std::uint32_t kControlPendingPosts = 1067;
constexpr std::uint32_t kControlPendingStatus = 1068;

// "Choose your email transport".
constexpr std::uint32_t kDialogChooseTransport = 130;
constexpr std::uint32_t kControlTransport = 1069;
constexpr std::uint32_t kControlAlwaysTransport = 1070;

// "Choose Recipients".
constexpr std::uint32_t kDialogChooseRecipients = 131;
constexpr std::uint32_t kControlContactSearch = 1071;
constexpr std::uint32_t kControlContacts = 1072;

// "Readdress email".
constexpr std::uint32_t kDialogReaddressEmail = 132;
constexpr std::uint32_t kControlRecipients = 1073;
constexpr std::uint32_t kControlReaddressPick = 1074;

// Commands, shared by menus, buttons and accelerators.
constexpr std::uint32_t kCommandClose = 40001;
constexpr std::uint32_t kCommandConnect = 40008;
constexpr std::uint32_t kCommandPreferences = 40009;
constexpr std::uint32_t kCommandAbout = 40010;
constexpr std::uint32_t kCommandDeleteShownArticle = 40011;
constexpr std::uint32_t kCommandSelectAll = 40012;
constexpr std::uint32_t kCommandSelectNone = 40013;
constexpr std::uint32_t kCommandDeleteRead = 40014;
constexpr std::uint32_t kCommandDeleteAll = 40015;
constexpr std::uint32_t kCommandNextThread = 40016;
constexpr std::uint32_t kCommandPreviousArticle = 40017;
constexpr std::uint32_t kCommandPreviousThread = 40018;
constexpr std::uint32_t kCommandNextArticle = 40019;
constexpr std::uint32_t kCommandNewGroup = 40020;
constexpr std::uint32_t kCommandRemoveGroups = 40021;
constexpr std::uint32_t kCommandRot13 = 40022;
constexpr std::uint32_t kCommandReply = 40023;
constexpr std::uint32_t kCommandMarkRead = 40024;
constexpr std::uint32_t kCommandMarkUnread = 40025;
constexpr std::uint32_t kCommandServerRead = 40026;
constexpr std::uint32_t kCommandServerUnread = 40027;
constexpr std::uint32_t kCommandDeleteThread = 40028;
constexpr std::uint32_t kCommandViewPostQueue = 40029;
constexpr std::uint32_t kCommandNewArticle = 40030;
constexpr std::uint32_t kCommandEditPost = 40031;
constexpr std::uint32_t kCommandDeletePost = 40032;
constexpr std::uint32_t kCommandForward = 40033;
constexpr std::uint32_t kCommandRoutePost = 40034;
constexpr std::uint32_t kCommandRouteEmail = 40035;
constexpr std::uint32_t kCommandRouteBoth = 40036;
constexpr std::uint32_t kCommandReaddressEmail = 40037;
constexpr std::uint32_t kCommandRouteForward = 40038;
constexpr std::uint32_t kCommandFind = 40048;
constexpr std::uint32_t kCommandAddToKillfile = 40049;
constexpr std::uint32_t kCommandCheckUncheckAll = 40050;
constexpr std::uint32_t kCommandFindAgain = 40051;
constexpr std::uint32_t kCommandDeleteSelectedArticle = 40053;
constexpr std::uint32_t kCommandNewArticleFromArticle = 40055;
constexpr std::uint32_t kCommandShowHeaders = 40056;
constexpr std::uint32_t kCommandSaveAs = 40057;
constexpr std::uint32_t kCommandImport = 40060;
constexpr std::uint32_t kCommandQuickSetup = 40061;
constexpr std::uint32_t kCommandRethread = 40062;
constexpr std::uint32_t kCommandToggleRemoveCrs = 40064;
constexpr std::uint32_t kCommandCopy = 40066;
constexpr std::uint32_t kCommandTogglePlainText = 40067;

}  // namespace quillet
