# The microcontroller's own temperature, where the port offers it.
import machine


def temperature():
    try:
        import esp32
        return (esp32.raw_temperature() - 32) / 1.8
    except ImportError:
        adc = machine.ADC(machine.Pin('TEMP'))
        return adc.read_u16() * 3.3 / 65535
