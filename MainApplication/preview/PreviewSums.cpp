#include "MainApplication/preview/PreviewSums.h"

namespace tidewell {

std::vector<GroupSum> sumsOf(const Preview& preview) {
  std::vector<GroupSum> sums;
  for (const PreviewGroup group : kPreviewGroups) {
    GroupSum sum{group};
    for (const PreviewedItem& item : preview.items) {
      if (item.group != group) continue;
      sum.files += item.files;
      sum.bytes += item.bytes;
    }
    for (const PreviewedRows& table : preview.rows) sum.rows += table.group == group ? table.rows : 0;
    for (const PreviewedRewriting& file : preview.rewritings) sum.bytes += file.group == group ? file.bytes : 0;
    if (sum != GroupSum{group}) sums.push_back(sum);
  }
  return sums;
}

}  // namespace tidewell
