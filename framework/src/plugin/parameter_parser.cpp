#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/TransService.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>

#include "framework/src/plugin/parameter_parser.h"

namespace obzx_pdk_4_4 {
namespace {

using namespace xercesc;  // NOLINT(google-build-using-namespace): its own name carries the version

std::string toUtf8(const XMLCh* text)
{
    if (text == nullptr || *text == 0) return {};
    const TranscodeToStr converted(text, "UTF-8");
    return std::string(reinterpret_cast<const char*>(converted.str()), converted.length());
}

// Line breaks and indentation of the file are no part of a help text.
std::string inOneLine(const std::string& text)
{
    std::string line;
    constexpr const char* BLANKS = " \t\r\n";
    for (size_t begin = 0; (begin = text.find_first_not_of(BLANKS, begin)) != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(BLANKS, begin), text.size());
        if (!line.empty()) line += ' ';
        line.append(text, begin, end - begin);
        begin = end;
    }
    return line;
}

class CDescriptionHandler : public DefaultHandler
{
  public:
    explicit CDescriptionHandler(CFiConfigParamInfoList& parameters) : m_parameters(parameters) {}
    CDescriptionHandler(const CDescriptionHandler&) = delete;
    CDescriptionHandler& operator=(const CDescriptionHandler&) = delete;

    void startElement(const XMLCh*, const XMLCh* localName, const XMLCh*, const Attributes& attributes) override
    {
        const std::string name = toUtf8(localName);
        ++m_depth;
        if (m_depth == 1 && name != "parameters") throw SAXException("not a parameter description");
        if (m_depth == 2 && name == "parameter") m_current = readAttributes(attributes);
        m_inHelp = m_depth == 3 && m_current && name == "help";
    }

    void characters(const XMLCh* text, const XMLSize_t length) override
    {
        if (m_inHelp) m_current->help += toUtf8(std::basic_string<XMLCh>(text, length).c_str());
    }

    void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override
    {
        if (m_depth == 2 && m_current) {
            m_current->help = inOneLine(m_current->help);
            addCurrent();
            m_current.reset();
        }
        m_inHelp = false;
        --m_depth;
    }

    // Called for a document type with declarations. Without them there are no entities that could reach or grow
    // anything.
    void startDTD(const XMLCh*, const XMLCh*, const XMLCh*) override { throw SAXException("document type"); }
    void error(const SAXParseException& problem) override { throw SAXParseException(problem); }
    void fatalError(const SAXParseException& problem) override { throw SAXParseException(problem); }

  private:
    static CFiConfigParamInfo readAttributes(const Attributes& attributes)
    {
        CFiConfigParamInfo info;
        for (XMLSize_t i = 0; i < attributes.getLength(); ++i) {
            const std::string name = toUtf8(attributes.getLocalName(i));
            if (name == "name") info.name = toUtf8(attributes.getValue(i));
            if (name == "type") info.type = toUtf8(attributes.getValue(i));
            if (name == "default") info.defaultValue = toUtf8(attributes.getValue(i));
        }
        return info;
    }

    void addCurrent()
    {
        if (m_current->name.empty()) return;
        for (const CFiConfigParamInfo& known : m_parameters) {
            if (known.name == m_current->name) return;
        }
        m_parameters.push_back(*m_current);
    }

    CFiConfigParamInfoList& m_parameters;
    std::optional<CFiConfigParamInfo> m_current;  // the parameter that is being read
    int m_depth = 0;
    bool m_inHelp = false;
};

struct SNotInitialized
{
};

// The library's own handler ends the process.
class CPanicHandler : public PanicHandler
{
  public:
    void panic(const PanicReasons) override { throw SNotInitialized(); }
};

void initializeParser()
{
    // Never terminated: the count that the library keeps is not safe against the host's own use of it, and what it
    // holds is held once for the life of the process. A start that found no memory cannot be undone or repeated.
    static CPanicHandler handler;
    static std::once_flag once;
    static bool initialized = false;
    std::call_once(once, [] {
        try {
            XMLPlatformUtils::Initialize(XMLUni::fgXercescDefaultLocale, nullptr, &handler);
            initialized = true;
        } catch (...) {
            initialized = false;
        }
    });
    if (!initialized) throw SNotInitialized();
}

// The memory of one parse. What the parser loses on its way when it finds no more is given back here.
class CParserMemory : public MemoryManager
{
  public:
    CParserMemory() = default;
    ~CParserMemory() override
    {
        for (SBlock* block = m_first.next; block != &m_first;) {
            SBlock* const next = block->next;
            std::free(block);
            block = next;
        }
    }
    CParserMemory(const CParserMemory&) = delete;
    CParserMemory& operator=(const CParserMemory&) = delete;

    void* allocate(XMLSize_t size) override
    {
        auto* const block = static_cast<SBlock*>(std::malloc(sizeof(SBlock) + size));
        if (block == nullptr) throw OutOfMemoryException();
        *block = {m_first.next, &m_first};
        block->next->previous = m_first.next = block;
        return block + 1;
    }
    void deallocate(void* memory) override
    {
        if (memory == nullptr) return;
        SBlock* const block = static_cast<SBlock*>(memory) - 1;
        block->previous->next = block->next;
        block->next->previous = block->previous;
        std::free(block);
    }
    // An exception may outlive the parse.
    MemoryManager* getExceptionMemoryManager() override { return XMLPlatformUtils::fgMemoryManager; }

  private:
    struct alignas(std::max_align_t) SBlock
    {
        SBlock* next;
        SBlock* previous;
    };
    SBlock m_first{&m_first, &m_first};
};

void parse(const std::string& xml, CDescriptionHandler& handler)
{
    CParserMemory memory;
    const std::unique_ptr<SAX2XMLReader> reader(XMLReaderFactory::createXMLReader(&memory));
    reader->setFeature(XMLUni::fgSAX2CoreValidation, false);
    reader->setFeature(XMLUni::fgXercesSchema, false);
    reader->setFeature(XMLUni::fgXercesLoadExternalDTD, false);
    reader->setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
    reader->setContentHandler(&handler);
    reader->setLexicalHandler(&handler);
    reader->setErrorHandler(&handler);
    const MemBufInputSource source(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "parameters.xml", false,
                                   &memory);
    reader->parse(source);
}

}  // namespace

bool parseParameterDescription(const std::string& xml, CFiConfigParamInfoList& parameters)
{
    try {
        initializeParser();
        CDescriptionHandler handler(parameters);
        parse(xml, handler);
        return true;
    } catch (const SAXException&) {
        return false;
    } catch (const XMLException&) {
        return false;
    } catch (const OutOfMemoryException&) {
        return false;  // no relation of the exceptions above
    } catch (const SNotInitialized&) {
        return false;
    }
}

}  // namespace obzx_pdk_4_4
