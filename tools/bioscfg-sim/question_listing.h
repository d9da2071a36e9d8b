// The question list as stable text, one line per record in list order:
//
//   form     op=0x01 flags=0x0 form=21 prompt="Processor Configuration"
//   one-of   op=0x05 flags=0x1 form=21 prompt="ATS Support" var="Setup" {GUID}
//            offset=0x0010 width=1 value=1 options=1="Enabled",0="Disabled"
// (the second record is one line). A question without options shows
// options=-.
//
// Characters outside printable ASCII are written as \uXXXX; a missing
// prompt or text as <none>.
#pragma once

#include "forms/setup_question.h"

#include <cstdio>

namespace bioscfgsim {

// Writes the list to Out through a buffer of bounded size, so that the
// whole list is never held however many records and options there are.
void WriteQuestionList(std::FILE *Out, const SetupQuestion *Head);

}  // namespace bioscfgsim
