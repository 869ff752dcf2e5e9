package com.ncr.teradata;

public final class TeraDataSource extends doubles.VendorDataSource {}
