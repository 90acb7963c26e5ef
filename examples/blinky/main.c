/* Blinks the four LEDs on PD12..PD15 in turn, with on/off times taken from
 * a table, timed by the 1 ms SysTick interrupt. */
#include "board.h"

struct blink_step {
    uint16_t on_ms;
    uint16_t off_ms;
};

static const struct blink_step patterns[] = {
    { 100, 100 },
    { 250, 250 },
    { 50, 450 },
    { 500, 100 },
};

static const uint8_t led_pins[] = { 12, 13, 14, 15 };

/* Image header at a fixed place after the vector table, where a
 * bootloader or a flashing tool can read the version without symbols. */
struct fw_header {
    uint32_t magic;
    uint16_t major, minor, patch;
    char name[10];
};

__attribute__((section(".fw_header"), used))
const struct fw_header firmware_header = { 0x424c4e4bu, 1, 2, 0, "blinky" };

volatile uint32_t g_tick_ms;          /* advanced by SysTick_Handler */
uint32_t g_blink_count;               /* zero-initialised, in .bss */
static uint8_t s_current_led = 1;     /* initialised, in .data */
static uint32_t s_pattern_index = 2;  /* initialised, in .data */

void SysTick_Handler(void)
{
    g_tick_ms++;
}

void SystemInit(void)
{
    /* one interrupt per millisecond from the core clock */
    SYSTICK->LOAD = CORE_CLOCK_HZ / 1000u - 1u;
    SYSTICK->VAL = 0;
    SYSTICK->CTRL = SYSTICK_CTRL_CLKSRC | SYSTICK_CTRL_TICKINT | SYSTICK_CTRL_ENABLE;
}

static void delay_ms(uint32_t ms)
{
    uint32_t start = g_tick_ms;
    while ((uint32_t)(g_tick_ms - start) < ms) {
        __asm__ volatile("wfi");
    }
}

/* Busy-wait for short settling times, before SysTick is worth using. */
static void delay_cycles(uint32_t n)
{
    for (volatile uint32_t i = 0; i < n; i++) {
    }
}

static void gpio_init_outputs(gpio_t *port)
{
    RCC->AHB1ENR |= RCC_AHB1ENR_GPIODEN;
    delay_cycles(16);
    for (unsigned i = 0; i < sizeof led_pins; i++) {
        unsigned pin = led_pins[i];
        port->MODER = (port->MODER & ~(3u << (pin * 2u))) | (1u << (pin * 2u));
    }
}

static void led_write(gpio_t *port, unsigned pin, int on)
{
    port->BSRR = on ? (1u << pin) : (1u << (pin + 16u));
}

int main(void)
{
    gpio_t *leds = GPIOD;

    gpio_init_outputs(leds);

    for (;;) {
        const struct blink_step *step =
            &patterns[s_pattern_index % (sizeof patterns / sizeof patterns[0])];
        unsigned pin = led_pins[s_current_led];

        led_write(leds, pin, 1);
        delay_ms(step->on_ms);
        led_write(leds, pin, 0);
        delay_ms(step->off_ms);

        g_blink_count++;
        s_current_led = (uint8_t)((s_current_led + 1u) % sizeof led_pins);
        if (s_current_led == 0)
            s_pattern_index++;
    }
}
