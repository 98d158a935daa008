// SPDX-License-Identifier: GPL-3.0-or-later
#include <ui/PdfInformation.h>

#include <qpdf/Buffer.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>

#include <memory>

namespace velmor {

std::string withInformation(const std::string& document,
                            const std::vector<std::pair<std::string, std::string>>& entries)
{
    QPDF pdf;
    pdf.processMemoryFile("report", document.data(), document.size());
    QPDFObjectHandle information = QPDFObjectHandle::newDictionary();
    for (const auto& [key, text] : entries)
        information.replaceKey(key, QPDFObjectHandle::newUnicodeString(text));
    pdf.getTrailer().replaceKey("/Info", pdf.makeIndirectObject(information));

    QPDFWriter writer(pdf);
    writer.setOutputMemory();
    writer.setObjectStreamMode(qpdf_o_generate);
    writer.setDeterministicID(true);
    writer.write();
    const std::shared_ptr<Buffer> result = writer.getBufferSharedPointer();
    const auto* const bytes = result->getBuffer();
    return {bytes, bytes + result->getSize()};
}

} // namespace velmor
