package com.ulvanejdbc;

public final class jdbcUtilities extends doubles.Utilities {}
