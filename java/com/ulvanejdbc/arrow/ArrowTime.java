package com.ulvanejdbc.arrow;

import com.ulvanejdbc.TemporalFields;
import java.util.concurrent.TimeUnit;

/** Arrow's types of dates and times, and the numbers in them. */
enum ArrowTime {
  DATE("tdD", Integer.BYTES) {
    @Override
    long number(TemporalFields fields) {
      long day = fields.epochDay();
      return fields.isDate() && fields.nanosOfDay() == 0 && day == (int) day ? day : NONE;
    }
  },

  TIME("ttu", Long.BYTES) {
    @Override
    long number(TemporalFields fields) {
      return isTime(fields) ? micros(fields.nanosOfDay()) : NONE;
    }
  },

  TIME_IN_NANOS("ttn", Long.BYTES) {
    @Override
    long number(TemporalFields fields) {
      return isTime(fields) ? fields.nanosOfDay() : NONE;
    }
  },

  TIMESTAMP("tsu:", Long.BYTES) {
    @Override
    long number(TemporalFields fields) {
      return timestamp(fields);
    }
  },

  TIMESTAMP_IN_UTC("tsu:UTC", Long.BYTES) {
    @Override
    long number(TemporalFields fields) {
      return timestamp(fields);
    }
  };

  /** What {@link #number} gives for a value that the type cannot hold. */
  static final long NONE = Long.MIN_VALUE;

  private static final int MICRO_DIGITS = 6;
  private static final long MICROS_PER_DAY = TimeUnit.DAYS.toMicros(1);

  /** Farther from 1970 than this, a day's microseconds may not fit 64 bits. */
  private static final long MAX_DAY = Long.MAX_VALUE / MICROS_PER_DAY - 1;

  final String format;
  final int width;

  ArrowTime(String format, int width) {
    this.format = format;
    this.width = width;
  }

  /** @param digits of the seconds' fraction */
  static ArrowTime ofTime(int digits) {
    return digits > MICRO_DIGITS ? TIME_IN_NANOS : TIME;
  }

  abstract long number(TemporalFields fields);

  private static boolean isTime(TemporalFields fields) {
    return !fields.hasDate() && fields.isTimeOfDay();
  }

  private static long timestamp(TemporalFields fields) {
    long micros = micros(fields.nanosOfDay());
    boolean isPointInTime = fields.isDate() && (fields.isTimeOfDay() || !fields.hasTime());
    if (!isPointInTime || micros == NONE || Math.abs(fields.epochDay()) > MAX_DAY) return NONE;
    return fields.epochDay() * MICROS_PER_DAY + micros;
  }

  private static long micros(long nanos) {
    return nanos % 1000 == 0 ? nanos / 1000 : NONE;
  }
}
