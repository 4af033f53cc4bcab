// SPDX-License-Identifier: MIT
#include "loomkit/db/postgresql/libpq_api.h"

#include <string>

namespace loomkit {
namespace {

constexpr FunctionEntry<LibpqApi> functions[] = {
    functionEntry<&LibpqApi::libVersion>("PQlibVersion"),
    functionEntry<&LibpqApi::conninfoParse>("PQconninfoParse"),
    functionEntry<&LibpqApi::conninfoFree>("PQconninfoFree"),
    functionEntry<&LibpqApi::freemem>("PQfreemem"),
    functionEntry<&LibpqApi::connectdbParams>("PQconnectdbParams"),
    functionEntry<&LibpqApi::finish>("PQfinish"),
    functionEntry<&LibpqApi::reset>("PQreset"),
    functionEntry<&LibpqApi::status>("PQstatus"),
    functionEntry<&LibpqApi::transactionStatus>("PQtransactionStatus"),
    functionEntry<&LibpqApi::connectionNeedsPassword>("PQconnectionNeedsPassword"),
    functionEntry<&LibpqApi::user>("PQuser"),
    functionEntry<&LibpqApi::serverVersion>("PQserverVersion"),
    functionEntry<&LibpqApi::parameterStatus>("PQparameterStatus"),
    functionEntry<&LibpqApi::sslInUse>("PQsslInUse"),
    functionEntry<&LibpqApi::sslAttribute>("PQsslAttribute"),
    functionEntry<&LibpqApi::errorMessage>("PQerrorMessage"),
    functionEntry<&LibpqApi::setNoticeProcessor>("PQsetNoticeProcessor"),
    functionEntry<&LibpqApi::consumeInput>("PQconsumeInput"),
    functionEntry<&LibpqApi::exec>("PQexec"),
    functionEntry<&LibpqApi::sendPrepare>("PQsendPrepare"),
    functionEntry<&LibpqApi::sendDescribePrepared>("PQsendDescribePrepared"),
    functionEntry<&LibpqApi::sendQueryParams>("PQsendQueryParams"),
    functionEntry<&LibpqApi::sendQueryPrepared>("PQsendQueryPrepared"),
    functionEntry<&LibpqApi::setSingleRowMode>("PQsetSingleRowMode"),
    functionEntry<&LibpqApi::getResult>("PQgetResult"),
    functionEntry<&LibpqApi::enterPipelineMode>("PQenterPipelineMode"),
    functionEntry<&LibpqApi::exitPipelineMode>("PQexitPipelineMode"),
    functionEntry<&LibpqApi::pipelineSync>("PQpipelineSync"),
    functionEntry<&LibpqApi::putCopyEnd>("PQputCopyEnd"),
    functionEntry<&LibpqApi::getCopyData>("PQgetCopyData"),
    functionEntry<&LibpqApi::getCancel>("PQgetCancel"),
    functionEntry<&LibpqApi::cancel>("PQcancel"),
    functionEntry<&LibpqApi::freeCancel>("PQfreeCancel"),
    functionEntry<&LibpqApi::resultStatus>("PQresultStatus"),
    functionEntry<&LibpqApi::resultErrorMessage>("PQresultErrorMessage"),
    functionEntry<&LibpqApi::resultErrorField>("PQresultErrorField"),
    functionEntry<&LibpqApi::clear>("PQclear"),
    functionEntry<&LibpqApi::ntuples>("PQntuples"),
    functionEntry<&LibpqApi::nfields>("PQnfields"),
    functionEntry<&LibpqApi::resultMemorySize>("PQresultMemorySize"),
    functionEntry<&LibpqApi::nparams>("PQnparams"),
    functionEntry<&LibpqApi::fname>("PQfname"),
    functionEntry<&LibpqApi::ftype>("PQftype"),
    functionEntry<&LibpqApi::fmod>("PQfmod"),
    functionEntry<&LibpqApi::ftable>("PQftable"),
    functionEntry<&LibpqApi::ftablecol>("PQftablecol"),
    functionEntry<&LibpqApi::getvalue>("PQgetvalue"),
    functionEntry<&LibpqApi::getlength>("PQgetlength"),
    functionEntry<&LibpqApi::getisnull>("PQgetisnull"),
    functionEntry<&LibpqApi::cmdTuples>("PQcmdTuples"),
    functionEntry<&LibpqApi::cmdStatus>("PQcmdStatus"),
    functionEntry<&LibpqApi::copyResult>("PQcopyResult"),
    functionEntry<&LibpqApi::setvalue>("PQsetvalue"),
    functionEntry<&LibpqApi::unescapeBytea>("PQunescapeBytea"),
};

}  // namespace

// The file is called libpq on every system, also where the names of libraries have no
// "lib" in front.
bool LibpqLibrary::load(const DsoCalls& calls) {
  if (!loaded)
    loaded =
        loadFunctions(calls, std::string("libpq") + hulGetDSOSuffix(), functions, &api, &handle);
  return loaded;
}

LibpqLibrary& libpqLibrary() {
  static constinit LibpqLibrary library;
  return library;
}

}  // namespace loomkit
