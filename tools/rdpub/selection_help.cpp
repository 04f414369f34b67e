// The HELP text for answering selection prompts (host/embedded/README.md has the same grammar).
#include "tools/rdpub/selection_help.h"

std::wstring SelectionHelp() {
  return L"\n选择对象时每行输入一项:"
         L"\n  2A 2B          图元句柄(十六进制, 空格分隔)"
         L"\n  W x1,y1 x2,y2  窗口: 完全在框内的图元"
         L"\n  C x1,y1 x2,y2  交叉: 在框内或与框相交的图元"
         L"\n  ALL            全部图元"
         L"\n  x,y            拾取点 (当前 UCS): 拾取框下的图元"
         L"\n  R / A          之后的选择移除 / 添加"
         L"\n  -...           以上各项前加 \"-\": 按住 Shift (移除)"
         L"\n  其它文字       交给命令 (关键字)"
         L"\n  空行 / 只有空格 回车 / 空格键, 结束选择"
         L"\n  ^C             取消";
}
