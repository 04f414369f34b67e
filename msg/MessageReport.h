// The suite's message report: the one routine through which library code that has no command
// line of its own (timer procedures, helpers called from other modules' dialogs) tells the user
// about a notice or a failure. The text is formatted with the platform's wide-printf rules
// (common/format.h) and shown in a message box titled "凯维提示" with the information icon;
// on the embedded host that box is one output line "[凯维提示] text" answered by its OK button.
// Lines longer than 1,023 characters are cut. Never fails visibly, never throws.
#ifndef KW_MSG_MESSAGEREPORT_H_
#define KW_MSG_MESSAGEREPORT_H_

namespace KWRDPub {

// The caption of the suite's notices and input checks.
inline constexpr const wchar_t* kNoticeCaption = L"凯维提示";

void ReportMessage(const wchar_t* format, ...);

}  // namespace KWRDPub

#endif  // KW_MSG_MESSAGEREPORT_H_
