# The libraries the project stands on, under the names their packages give them. Whoever adds one that a library
# of ours links also adds it to CoreDataStackConfig.cmake.in.

find_package(Threads REQUIRED)
find_package(SQLite3 3.40 REQUIRED)
find_package(ICU REQUIRED COMPONENTS uc i18n)
find_package(absl REQUIRED)
find_package(fmt REQUIRED)
find_package(JPEG REQUIRED)
find_package(PNG REQUIRED)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(nlohmann_json REQUIRED)

if(COREDATASTACK_BUILD_TOOLS)
  find_package(CLI11 REQUIRED)
endif()
if(COREDATASTACK_BUILD_TESTS)
  find_package(GTest REQUIRED)
  find_package(rapidcheck REQUIRED)
  if(NOT TARGET RapidCheck::RapidCheck)
    add_library(RapidCheck::RapidCheck ALIAS rapidcheck)
  endif()
endif()
