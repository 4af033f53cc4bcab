// SPDX-License-Identifier: MIT
// The result codes of the xBase engine: 0 is success, positive codes are
// conditions that a caller expects, negative ones are errors, whose texts
// error_texts.h has.
#ifndef LOOMKIT_XBASE_CODES_H
#define LOOMKIT_XBASE_CODES_H

namespace loomkit::xbase {

inline constexpr int ok = 0;

// Conditions.
inline constexpr int notFound = 1;    ///< a seek found no equal key, and stands behind its place
inline constexpr int emptyBlock = 2;  ///< an index block without keys
inline constexpr int endOfFile = 3;
inline constexpr int beginningOfFile = 4;
inline constexpr int noSuchRecord = 5;  ///< a record number outside the file
inline constexpr int notUnique = 20;    ///< a unique tag has the key already
inline constexpr int locked = 50;       ///< never produced: the engine has no locks
inline constexpr int notOpened = 70;    ///< a file could not be opened, and that is not reported

// Errors of files.
inline constexpr int errorClosing = -10;
inline constexpr int errorCreating = -20;
inline constexpr int errorLength = -30;
inline constexpr int errorSettingLength = -40;
inline constexpr int errorOpening = -60;
inline constexpr int errorReading = -70;
inline constexpr int errorRemoving = -80;
inline constexpr int errorRenaming = -90;
inline constexpr int errorWriting = -120;

// Errors of tables.
inline constexpr int errorNotATable = -200;
inline constexpr int errorFieldName = -210;
inline constexpr int errorFieldType = -220;
inline constexpr int errorRecordLength = -230;

// Errors of indexes.
inline constexpr int errorTagEntryMissing = -300;
inline constexpr int errorNotAnIndex = -310;
inline constexpr int errorTagName = -330;
inline constexpr int errorUniqueKey = -340;

// Errors of expressions.
inline constexpr int errorCommaExpected = -400;
inline constexpr int errorIncomplete = -410;
inline constexpr int errorDataFileName = -420;
inline constexpr int errorIifLength = -422;
inline constexpr int errorConstantNeeded = -425;
inline constexpr int errorParameterCount = -430;
inline constexpr int errorOverflow = -440;
inline constexpr int errorRightBracket = -450;
inline constexpr int errorOperandType = -460;
inline constexpr int errorFunction = -470;
inline constexpr int errorOperator = -480;
inline constexpr int errorValue = -490;
inline constexpr int errorString = -500;

// Errors of the engine and its callers.
inline constexpr int errorInformation = -910;
inline constexpr int errorMemory = -920;
inline constexpr int errorParameter = -930;
inline constexpr int errorResult = -950;

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_CODES_H
