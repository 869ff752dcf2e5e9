package com.velmar.jdbc3.jdbc;

public final class VelmDataSource extends doubles.VendorDataSource {}
