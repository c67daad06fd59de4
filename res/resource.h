// SPDX-License-Identifier: GPL-3.0-or-later
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
constexpr std::uint32_t kControlProgressFigures = 1230;

// About box.
constexpr std::uint32_t kDialogAbout = 121;
constexpr std::uint32_t kControlAboutProgram = 1021;  // its name and version
constexpr std::uint32_t kControlAboutText = 1235;

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

// "Server" page.
constexpr std::uint32_t kDialogServerPage = 140;
constexpr std::uint32_t kControlServers = 1100;
constexpr std::uint32_t kControlAddServer = 1101;
constexpr std::uint32_t kControlDeleteServer = 1102;
constexpr std::uint32_t kControlServerPort = 1103;
constexpr std::uint32_t kControlExtraLogin = 1104;
constexpr std::uint32_t kControlServerUser = 1105;
constexpr std::uint32_t kControlServerPassword = 1106;
constexpr std::uint32_t kControlEncryptedLogin = 1107;
constexpr std::uint32_t kControlOneServer = 1108;
constexpr std::uint32_t kControlServerSecurity = 1212;

// "Add Server".
constexpr std::uint32_t kDialogAddServer = 141;
constexpr std::uint32_t kControlServerName = 1110;

// "Connection" page.
constexpr std::uint32_t kDialogConnectionPage = 142;
constexpr std::uint32_t kControlConnectionMethod = 1111;

// "Reply information" page.
constexpr std::uint32_t kDialogReplyPage = 143;
constexpr std::uint32_t kControlReturnAddress = 1112;
constexpr std::uint32_t kControlFullName = 1113;
constexpr std::uint32_t kControlQuoteText = 1114;
constexpr std::uint32_t kControlAttribution = 1115;
constexpr std::uint32_t kControlFullPostView = 1116;

// "Signature" page.
constexpr std::uint32_t kDialogSignaturePage = 144;
constexpr std::uint32_t kControlSignature = 1117;
constexpr std::uint32_t kControlSignatureNote = 1195;

// "Download options" page.
constexpr std::uint32_t kDialogDownloadPage = 145;
constexpr std::uint32_t kControlBeepAfter = 1118;
constexpr std::uint32_t kControlDownloadNewest = 1119;

// "Storage options" page.
constexpr std::uint32_t kDialogStoragePage = 146;
constexpr std::uint32_t kControlStoreFull = 1120;
constexpr std::uint32_t kControlMaxStore = 1121;
constexpr std::uint32_t kControlMaxStorePercent = 1122;
constexpr std::uint32_t kControlMaxArticleSize = 1123;
constexpr std::uint32_t kControlMaxArticles = 1124;
constexpr std::uint32_t kControlDiscardHeaders = 1125;

// "Compression" page.
constexpr std::uint32_t kDialogCompressionPage = 147;
constexpr std::uint32_t kControlCompressionLibrary = 1126;
constexpr std::uint32_t kControlUseCompression = 1127;
constexpr std::uint32_t kControlCompressNow = 1128;
constexpr std::uint32_t kControlUncompressNow = 1129;

// "Killfile" page.
constexpr std::uint32_t kDialogKillfilePage = 148;
constexpr std::uint32_t kControlKillfileEntries = 1130;
constexpr std::uint32_t kControlKillSubject = 1131;
constexpr std::uint32_t kControlKillAuthor = 1132;
constexpr std::uint32_t kControlKill = 1133;
constexpr std::uint32_t kControlRequire = 1134;
constexpr std::uint32_t kControlDeleteEntry = 1135;
constexpr std::uint32_t kControlDeleteFromAll = 1136;
constexpr std::uint32_t kControlPropagateToAll = 1137;

// "Group view options" page.
constexpr std::uint32_t kDialogGroupViewPage = 149;
constexpr std::uint32_t kControlGroupFont = 1138;
constexpr std::uint32_t kControlGroupFontSize = 1139;

// "Thread view options" page.
constexpr std::uint32_t kDialogThreadViewPage = 150;
constexpr std::uint32_t kControlThreadFont = 1140;
constexpr std::uint32_t kControlThreadFontSize = 1141;
constexpr std::uint32_t kControlUseThreading = 1142;
constexpr std::uint32_t kControlReverseThread = 1143;

// "Article view options" page.
constexpr std::uint32_t kDialogArticleViewPage = 151;
constexpr std::uint32_t kControlArticleFont = 1144;
constexpr std::uint32_t kControlArticleFontSize = 1145;
constexpr std::uint32_t kControlHeaderFont = 1146;
constexpr std::uint32_t kControlHeaderFontSize = 1147;
constexpr std::uint32_t kControlShowHeaders = 1148;
constexpr std::uint32_t kControlRemoveCrs = 1149;
constexpr std::uint32_t kControlColorQuoted = 1150;

// "Scheduling" page.
constexpr std::uint32_t kDialogSchedulingPage = 152;
constexpr std::uint32_t kControlAutoDownload = 1151;
constexpr std::uint32_t kControlDownloadTime = 1152;
constexpr std::uint32_t kControlDeleteRead = 1153;
constexpr std::uint32_t kControlDeleteAll = 1154;
constexpr std::uint32_t kControlDeleteBefore = 1155;
constexpr std::uint32_t kControlDeleteOnQuit = 1156;

// "Database Management" page.
constexpr std::uint32_t kDialogDatabasePage = 153;
constexpr std::uint32_t kControlDatabases = 1157;
constexpr std::uint32_t kControlDatabaseStore = 1158;
constexpr std::uint32_t kControlPurge = 1159;
constexpr std::uint32_t kControlCompact = 1160;

// "Advanced" page.
constexpr std::uint32_t kDialogAdvancedPage = 154;
constexpr std::uint32_t kControlSkipVerifications = 1161;
constexpr std::uint32_t kControlTabsLeft = 1162;
constexpr std::uint32_t kControlTabsBottom = 1163;
constexpr std::uint32_t kControlTabsRight = 1164;
constexpr std::uint32_t kControlClearTransport = 1165;
constexpr std::uint32_t kControlResetPrefs = 1166;

// "Advanced:headers" page.
constexpr std::uint32_t kDialogHeadersPage = 155;
constexpr std::uint32_t kControlExtraHeaders = 1167;

// "Advanced: Debugging" page.
constexpr std::uint32_t kDialogDebuggingPage = 156;
constexpr std::uint32_t kControlKeepTransactionLog = 1168;
constexpr std::uint32_t kControlSaveLog = 1169;
constexpr std::uint32_t kControlDatabaseVersion = 1170;

// "Extensions" page: of each a box or a number, and the line that tells what it changes.
constexpr std::uint32_t kDialogExtensionsPage = 157;
constexpr std::uint32_t kControlPostMessageIds = 1180;
constexpr std::uint32_t kControlPostMessageIdsLine = 1181;
constexpr std::uint32_t kControlPasswordStore = 1182;
constexpr std::uint32_t kControlPasswordStoreLine = 1183;
constexpr std::uint32_t kControlImportProgress = 1184;
constexpr std::uint32_t kControlImportProgressLine = 1185;
constexpr std::uint32_t kControlDecodeMime = 1200;
constexpr std::uint32_t kControlDecodeMimeLine = 1201;
constexpr std::uint32_t kControlPostCharsets = 1202;
constexpr std::uint32_t kControlPostCharsetsLine = 1203;
constexpr std::uint32_t kControlStallLimit = 1204;
constexpr std::uint32_t kControlStallLimitLine = 1205;
constexpr std::uint32_t kControlRetries = 1206;
constexpr std::uint32_t kControlRetriesLine = 1207;
constexpr std::uint32_t kControlLoginLater = 1208;
constexpr std::uint32_t kControlLoginLaterLine = 1209;
constexpr std::uint32_t kControlAllAddresses = 1210;
constexpr std::uint32_t kControlAllAddressesLine = 1211;
constexpr std::uint32_t kControlCrossPosts = 1216;
constexpr std::uint32_t kControlCrossPostsLine = 1217;
constexpr std::uint32_t kControlAncestors = 1218;
constexpr std::uint32_t kControlAncestorsLine = 1219;
constexpr std::uint32_t kControlRestorePlace = 1220;
constexpr std::uint32_t kControlRestorePlaceLine = 1221;
constexpr std::uint32_t kControlStartGuide = 1222;
constexpr std::uint32_t kControlStartGuideLine = 1223;
constexpr std::uint32_t kControlProgressLine = 1224;
constexpr std::uint32_t kControlProgressLineLine = 1225;
constexpr std::uint32_t kControlReadOn = 1226;
constexpr std::uint32_t kControlReadOnLine = 1227;
constexpr std::uint32_t kControlRowDetails = 1228;
constexpr std::uint32_t kControlRowDetailsLine = 1229;

// "Quillet CE Quick Setup", the first page; its "Next >>" is OK.
constexpr std::uint32_t kDialogQuickSetup = 158;
constexpr std::uint32_t kControlSetupServer = 1190;
constexpr std::uint32_t kControlSetupName = 1191;
constexpr std::uint32_t kControlSetupAddress = 1192;
constexpr std::uint32_t kControlSetupPort = 1213;
constexpr std::uint32_t kControlSetupSecurity = 1214;
constexpr std::uint32_t kControlSetupNote = 1215;

// The second; its "Done" is OK.
constexpr std::uint32_t kDialogQuickSetupConnection = 159;
constexpr std::uint32_t kControlSetupConnection = 1193;
constexpr std::uint32_t kControlSetupBack = 1194;

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
constexpr std::uint32_t kCommandRawText = 40080;
constexpr std::uint32_t kCommandNextUnread = 40081;
constexpr std::uint32_t kCommandUserGuide = 40082;

}  // namespace quillet
