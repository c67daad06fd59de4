// SPDX-License-Identifier: GPL-3.0-or-later
// The post editor: one article is written at a time, in a window of its own beside the program,
// which lives on meanwhile. Program thread only.
#pragma once

#include <memory>
#include <string_view>

#include "post/post_info.h"
#include "store/records.h"

namespace quillet {

// What starts an article. While one is being written already, its editor comes to the front.
void StartNewArticle(std::u16string_view newsgroups);
void StartReply(const AsciiArticle& article, std::u16string_view group);
void StartForward(const AsciiArticle& article, std::u16string_view group);

// Opens the editor that `simplepost` asks for. True when it is open; false, and nothing is done
// but a word to the user, while another one is.
bool OpenEditor(std::unique_ptr<PostInfo> info);
// Whether the open editor has that queued post, or a draft that has not been offered yet.
bool IsBeingEdited(std::string_view post_key);

// Called once the open editor has closed, by whatever the user did in it.
void WhenEditorCloses(void (*call)());

// Before the program ends: false when the user wants to go on writing.
bool EditorLetsQuit();
// The program ends: the editor goes, and what was written is kept for the next start.
void CloseEditorForQuit();

// What a crash has left: finishes what the user had finished, without a word, ...
void SettleDraft();
// ... and offers the rest.
void OfferDraft();
// A draft could not be written; the user is told.
void TellOfUnsavedDraft();

}  // namespace quillet
