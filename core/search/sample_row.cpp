#include "search/sample_row.h"

#include "sql/statement.h"

#include <filesystem>

namespace qv {

Sample sampleFromRow(const Statement& st)
{
    Sample sample;
    sample.id = st.columnInt64(0);
    sample.path = st.columnText(1);
    sample.filename = st.columnText(2);
    sample.type = sampleTypeFromString(st.columnText(3));
    sample.genre = st.columnText(4);
    sample.instrument = st.columnText(5);
    if (!st.isNull(6)) sample.bpm = static_cast<std::int32_t>(st.columnInt64(6));
    sample.musicalKey = st.columnText(7);
    if (!st.isNull(8)) sample.duration = st.columnDouble(8);
    sample.fileSize = st.columnInt64(9);
    sample.modifiedAt = st.columnInt64(10);
    sample.favorite = st.columnInt64(11) != 0;
    sample.libraryName = std::filesystem::path(st.columnText(12)).filename().string();
    return sample;
}

} // namespace qv
